; The monitor core: serves the host's byte protocol on a serial channel by polling, with
; interrupts off. The loader puts it at E00024..E002E7 (0x2C4 bytes, this file's exact
; size) and starts it at its first byte. monitor.asm and monitork.asm set KLINE and include
; this file; nothing else differs between the RS-232 and the one-wire form.
;
; Relocatable: the code holds no absolute address of itself. It finds where it runs with
; CALLR/POP at every entry (R11) and reaches its own labels as R11 + distance, its own data
; through the code segment (R10, from CSP). A copy written anywhere in RAM and started at
; its first byte works as the original does.
;
; Entries (offsets from the first byte):
;   +0  cold start from the loader, and the break entry: a planted breakpoint is a
;       CALLS to here, which has pushed CSP and the IP after the 4-byte call. Those two
;       words stay on the user's stack, SP is as the CALLS left it; the host reads them
;       and pops them itself. Answers A_APPLICATION_STARTED.
;   +4  return entry: a program started with Go jumps (JMPS) here to give the line back.
;       Answers A_ACK2.
; Both save the user's PSW and CP in the monitor's bank and turn interrupts off.
;
; Register bank: fixed at 00FA00..00FA1F (MONBANK), the bottom of the default system
; stack area; a user stack that grows down to FA20 would overwrite it.
;   R0  = 0 (the segment of the SFRs and of the register banks, for EXTS)
;   R1  = the user's CP     R2  = the user's PSW (the host reads and writes these two through
;         00FE10 and 00FF10: see redirect)
;   RL3 = XOR of the bytes moved so far, RH3 = the checksum of the last block
;   R4  = the byte sent or received (RH4 stays 0)
;   R5  = the effective address of a memory access; the command's table entry
;   R6  = address offset, R7 = address segment, R8 = count or data word (from the header)
;   R9  scratch
;   R10 = the code segment  R11 = the run-time offset of "here"
;   R12 = mode: bit 0 the second channel, bit 1 one wire (drop the echo of every byte sent)
;   R13 = return offset of the byte routines and redirect
;   R14 = return offset of xfer and the header, the handler's offset after dispatch
;   R15 = header byte count; direction of xfer (0 line to memory, 1 memory to line)
; Stack: none while commands are served (the host moves SP with word writes meanwhile).
; The entries push and pop two words below the user's SP; Go pushes three and its RETI
; takes them back, so a started program finds SP as the user left it; Call leaves the
; routine's far return frame (two words) below it while the routine runs. The user's SP
; must leave that room above STKOV, or the processor takes its stack overflow trap.
; After every write of CP the next instruction uses no register of either bank.
; Target memory is read and written through EXTS with the segment of the address, so the
; DPPs are never changed; MDH, MDL and MDC are never touched.
; Timing at 20 MHz: a block byte takes about 27 instructions written (4 us) and about 40
; read (6 us), besides its frame; at 115200 baud a frame lasts 87 us, so the receive buffer
; never overruns. A command's dispatch looks through at most ten table entries (4 us).

MONBANK         EQU   0FA00h

; Protocol bytes (the defaults the host uses).
C_WRITE_BLOCK   EQU   84h
C_READ_BLOCK    EQU   85h
C_WRITE_WORD    EQU   82h
C_EINIT         EQU   31h
C_TEST_COMM     EQU   93h
C_SWRESET       EQU   32h
C_GO            EQU   41h
C_CALL          EQU   9Fh
C_GETCHECKSUM   EQU   33h
C_SWITCH        EQU   0CCh
A_ACK1          EQU   0AAh
A_ACK2          EQU   0EAh
A_APP_STARTED   EQU   03h
A_SWITCHED      EQU   55h
A_SWITCH_FLAG   EQU   0D5h

; The second serial channel where a type has one (S1 of the first-generation members); the
; names are the monitor's own, so the source assembles for types without it. On such a
; type (TOLVANE, for one) these addresses belong to other peripherals or to nothing: a
; channel switch there leaves the monitor waiting for a zero byte that never comes. Its
; port pins are left as they are; a board that uses the channel sets them up itself.
CH1TBUF         EQU   0FEB8h
CH1RBUF         EQU   0FEBAh
CH1BG           EQU   0FEBCh
CH1CON          EQU   0FFB8h
CH1TIC          EQU   0FF72h
CH1RIC          EQU   0FF74h

        ORG   0E00024h

; ---- entries -----------------------------------------------------------------------------
break:  JMPR  cc_UC,cold
        NOP                       ; never runs: the return entry starts 4 bytes in
return: SCXT  PSW,#0              ; the user's PSW onto the stack; interrupts off, level 0
        SCXT  CP,#MONBANK         ; the user's CP onto the stack; from now on our bank
        JMPR  cc_UC,returned      ; (no register use right after the bank changes)
cold:   SCXT  PSW,#0
        SCXT  CP,#MONBANK
        NOP
        MOV   R4,#A_APP_STARTED
        JMPR  cc_UC,saved
returned:
        MOV   R4,#A_ACK2
saved:  POP   R1                  ; the user's CP
        POP   R2                  ; the user's PSW
        CALLR here                ; where this copy runs
here:   POP   R11
        MOV   R0,#0
        PUSH  CSP
        POP   R10
        MOV   R5,R11
        ADD   R5,#mode-here
        EXTS  R10,#1
        MOV   R12,[R5]            ; the channel survives a break; a fresh image starts on S0
        MOV   R13,R11
        ADD   R13,#main-here
        JMPR  cc_UC,putbyte       ; the entry's answer, then commands

; ---- command loop ------------------------------------------------------------------------
main:   MOV   R13,R11
        ADD   R13,#command-here
        JMPR  cc_UC,getbyte
command:
        MOV   R9,R11
        ADD   R9,#commands-here
lookup: EXTS  R10,#2
        MOV   R5,[R9+]            ; RL5 = command byte, RH5 = header bytes
        MOV   R14,[R9+]           ; the handler's distance from "here"
        JB    R5.15,main          ; end of the table: an unknown byte gets no answer
        CMPB  RL5,RL4
        JMPR  cc_NE,lookup
        ADD   R14,R11
        MOV   R4,#A_ACK1
        MOV   R13,R11
        ADD   R13,#acked-here
        JMPR  cc_UC,putbyte
; The header (address low byte first, then count or word) goes byte by byte into the bank
; from RH6 on, then is shifted into place: R6 = offset, R7 = segment, R8 = count or word.
acked:  MOVBZ R15,RH5
        MOV   R9,#MONBANK+13
        MOV   R13,R11
        ADD   R13,#header-here
hnext:  SUB   R15,#1
        JMPR  cc_C,hdone
        JMPR  cc_UC,getbyte
header: EXTS  R0,#1
        MOVB  [R9],RL4
        ADD   R9,#1
        JMPR  cc_UC,hnext
hdone:  MOVB  RL6,RH6
        MOVB  RH6,RL7
        MOVBZ R7,RH7
        JMPI  cc_UC,[R14]

; ---- commands ----------------------------------------------------------------------------
einit:  EINIT
ack2:   MOV   R4,#A_ACK2
sendmain:
        MOV   R13,R11
        ADD   R13,#main-here
        JMPR  cc_UC,putbyte

checksum:
        MOVB  RL4,RH3
        MOV   R13,R11
        ADD   R13,#ack2-here
        JMPR  cc_UC,putbyte

swreset:
        MOV   R4,#A_ACK2
        MOV   R13,R11
        ADD   R13,#reset-here
        JMPR  cc_UC,putbyte
reset:  SRST

; Word write: one word access, as flash command cycles need; the address must be even
; (the processor traps a word access at an odd one).
wword:  MOV   R13,R11
        ADD   R13,#wword2-here
        JMPR  cc_UC,redirect
wword2: EXTS  R7,#1
        MOV   [R5],R8
        JMPR  cc_UC,ack2

wblock: MOV   R15,#0
        JMPR  cc_UC,block
rblock: MOV   R15,#1
block:  MOV   R14,R11
        ADD   R14,#blocked-here
        JMPR  cc_UC,xfer
blocked:
        MOVB  RH3,RL3
        JMPR  cc_UC,ack2

; Channel switch: both acknowledges on this channel; the second channel gets this one's
; rate and mode, then waits for a zero byte and answers A_SWITCHED and A_SWITCH_FLAG there.
; From then on every answer, the entries' too, goes out there (the mode word keeps it).
switch: MOV   R4,#A_ACK2
        MOV   R13,R11
        ADD   R13,#switch2-here
        JMPR  cc_UC,putbyte
switch2:
        EXTS  R0,#4
        MOV   R9,S0BG
        MOV   CH1BG,R9
        MOV   R9,S0CON
        MOV   CH1CON,R9
        BCLR  CH1RIC.7
        BSET  R12.0
        MOV   R5,R11
        ADD   R5,#mode-here
        EXTS  R10,#1
        MOV   [R5],R12
        MOV   R13,R11
        ADD   R13,#zero-here
zero:   CMP   R4,#0               ; (R4 = A_ACK2 or its echo the first time)
        JMPR  cc_NZ,getbyte
        MOV   R4,#A_SWITCHED
        MOV   R13,R11
        ADD   R13,#switch3-here
        JMPR  cc_UC,putbyte
switch3:
        MOV   R4,#A_SWITCH_FLAG
        JMPR  cc_UC,sendmain

; ---- serial channel ----------------------------------------------------------------------
; getbyte: waits for a byte on the channel R12 selects, into R4. Back through R13.
getbyte:
        JB    R12.0,get1
get0:   JNB   S0RIR,get0
        BCLR  S0RIR
        EXTS  R0,#1
        MOV   R4,S0RBUF
        JMPI  cc_UC,[R13]
get1:   JNB   CH1RIC.7,get1
        BCLR  CH1RIC.7
        EXTS  R0,#1
        MOV   R4,CH1RBUF
        JMPI  cc_UC,[R13]

; putbyte: sends R4 and waits until the frame has gone (S0TIR); on one wire it then takes
; its own byte back from the receiver (into R4). Back through R13.
putbyte:
        JB    R12.0,put1
        BCLR  S0TIR
        EXTS  R0,#1
        MOV   S0TBUF,R4
put0:   JNB   S0TIR,put0
        JMPR  cc_UC,sent
put1:   BCLR  CH1TIC.7
        EXTS  R0,#1
        MOV   CH1TBUF,R4
put1w:  JNB   CH1TIC.7,put1w
sent:   JB    R12.1,getbyte
        JMPI  cc_UC,[R13]

; Go: the user's PSW, the address and CP as they were (or as the host wrote them), then
; RETI takes IP, CSP and PSW in one step, so no interrupt comes in before the jump.
go:     MOV   R4,#A_ACK2
        MOV   R13,R11
        ADD   R13,#go2-here
        JMPR  cc_UC,putbyte
go2:    PUSH  R2
        PUSH  R7
        PUSH  R6
        EXTS  R0,#1
        MOV   CP,R1
        RETI

; xfer: R8 bytes between the line and memory at R7:R6, the way R15 says; RL3 = their XOR.
; Back through R14.
xfer:   MOVB  RL3,#0
xnext:  MOV   R13,R11
        ADD   R13,#xaddr-here
        JNB   R15.0,getbyte       ; into memory: the byte comes from the line first
xaddr:  MOV   R13,R11
        ADD   R13,#xmove-here
        JMPR  cc_UC,redirect
xmove:  JB    R15.0,xread
        EXTS  R7,#1
        MOVB  [R5],RL4
        XORB  RL3,RL4
        JMPR  cc_UC,xstep
xread:  EXTS  R7,#1
        MOVB  RL4,[R5]
        XORB  RL3,RL4
        MOV   R13,R11
        ADD   R13,#xstep-here
        JMPR  cc_UC,putbyte
xstep:  ADD   R6,#1
        ADDC  R7,#0               ; the block goes on in the next segment
        SUB   R8,#1
        JMPR  cc_NZ,xnext
        JMPI  cc_UC,[R14]

; redirect: R5 = the place of R7:R6 for a memory access. CP (00FE10/11) and PSW
; (00FF10/11) are the user's saved values in R1 and R2, not the live registers: the live
; ones are the monitor's while it runs. Back through R13.
redirect:
        MOV   R5,R6
        CMP   R7,#0
        JMPR  cc_NZ,rdone
        MOV   R9,R6
        AND   R9,#0FEFEh
        CMP   R9,#0FE10h
        JMPR  cc_NZ,rdone
        BMOV  R5.1,R5.8           ; FE10, FE11, FF10, FF11 -> 0, 1, 2, 3
        AND   R5,#3
        ADD   R5,#MONBANK+2
rdone:  JMPI  cc_UC,[R13]

; Call: the routine's far return into this copy, then its address, go on the user's stack;
; R8..R15 go into the user's bank; the routine runs on the user's bank with interrupts off
; and comes back with RETS. It may take as long as it likes: nothing here times out.
call:   PUSH  CSP
        MOV   R9,R11
        ADD   R9,#called-here
        PUSH  R9
        PUSH  R7
        PUSH  R6
        MOV   R15,#0
        MOV   R14,R11
        ADD   R14,#call2-here
        JMPR  cc_UC,userregs
call2:  EXTS  R0,#1
        MOV   CP,R1
        RETS
called: MOV   CP,#MONBANK
        NOP                       ; (no register use right after the bank changes)
        MOV   R15,#1
        MOV   R14,R11
        ADD   R14,#ack2-here
; userregs: R8..R15 of the user's bank (CP + 16..31) to or from the line. Keeps RH3.
userregs:
        MOV   R6,R1
        ADD   R6,#16
        MOV   R7,#0
        MOV   R8,#16
        JMPR  cc_UC,xfer

; ---- data --------------------------------------------------------------------------------
mode:   DW    KLINE*2

; The commands: byte and header bytes, then the handler's distance from "here".
commands:
        DW    C_WRITE_BLOCK+500h, wblock-here
        DW    C_READ_BLOCK+500h, rblock-here
        DW    C_WRITE_WORD+500h, wword-here
        DW    C_GETCHECKSUM, checksum-here
        DW    C_TEST_COMM, ack2-here
        DW    C_EINIT, einit-here
        DW    C_GO+300h, go-here
        DW    C_CALL+300h, call-here
        DW    C_SWRESET, swreset-here
        DW    C_SWITCH, switch-here
        DW    8000h, 0

; Fill to the exact size the loader takes (0x2C4 bytes, up to E002E7). The two DS lines
; stop the assembly when the code and the fill do not end exactly there.
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0
        DB    0,0,0,0,0,0,0,0
monend:
        DS    monend-0E002E8h
        DS    0E002E8h-monend

; The flash driver for the external 16-bit chip (XFLASH unit, data/MEMDEF/XFLASH16.TXT):
; word programming with verify, sector erase with a blank check, the chip's codes as
; status. Downloaded to 00FC20 and called there by the host (see driver_interface.asm for
; the registers of each function).
;
; Where it runs: 00FC20..00FDFF is internal RAM on every type whose memory file names this
; driver (KESSEL's IRAM starts at 00FA00, the others' at 00F600). It stays clear of the
; monitor's bank (00FA00..00FA1F), the default system stack (up to 00FBFF), the register
; bank the monitor calls drivers on after reset (CP = 00FC00..00FC1F), the driver buffers
; (00F600 and 02F000, a burst long) and the monitor area E00024..E002E7.
;
; Where the chip is: the autoselect codes are asked at 080000 (MORVIK, TOLVANE and BRASK
; boards, eight 64 KB sectors); where nothing answers there, at 000000 (KESSEL, four
; sectors). Nothing is mapped at 080000 on a KESSEL board, so the probe writes go nowhere;
; on the other types 000000 is never written. A chip that answers at neither gives
; E_DEVICE. The probe costs about 30 instructions a call.
;
; Functions: F_PROGRAM, F_ERASE, F_STATUS. The chip has no sector protection, and the
; memory files list no LOCK, UNLOCK, PROTECT or UNPROTECT for the unit: those give
; E_UNKNOWN, as does any other number.
;   F_PROGRAM  R9 bytes (even, in one sector) from R11:R10 to R14:R13, a word at a time,
;              each read back and compared after the chip is done. A word that asks for a 1
;              over a 0 makes the chip give up with DQ5: E_VERIFY (and the chip is reset).
;   F_ERASE    sector R14 (the SECTION number of the memory file); afterwards every word of
;              the sector must read FFFFh, else E_VERIFY.
;   F_STATUS   word R14 into R8: 0 the chip's status bits (DQ7 DATA_POLLING, DQ6 TOGGLE,
;              DQ5 TIME_LIMIT_EXCEEDED, DQ3 ERASE_TIMER, DQ2 TOGGLE2) as read when the last
;              operation failed or ran out of time, 0 after one that ended well; 1 the
;              maker code (bits 0-7) and device code (bits 8-15); 2 the driver's version.
;
; Registers: R8..R15 as the interface gives them; R4..R7 are saved on the caller's stack.
; Stack: the four saved words and up to three near returns (findchip, ident, command):
; seven words besides the far return.
; Interrupts: the monitor calls with them off; nothing here turns them on.
; Time at 20 MHz: a poll of the busy chip takes 30 cycles (1.5 us). Measured on the board's
; chip: a 256-byte burst 1.9 ms (128 words of 10 us and about 100 cycles of its own each), a 64 KB
; sector erase 522 ms (the chip's 0.5 s and a blank check of 23 ms).
; Time-outs: 1000 polls (1.5 ms, 150 times the data sheet's word time) for a word,
; 1333333 polls (2 s, four times its sector erase) for an erase.

        INCLUDE "driver_interface.asm"

DRIVER          EQU   0FC20h

; The chip (XFLASH16.TXT). Command cycles are word writes; only the low byte is decoded.
BOARD_SEG       EQU   08h         ; the chip at 080000
KESSEL_SEG      EQU   00h         ; the chip at 000000
UNLOCK1_AT      EQU   0AAAh       ; word 555h: its low byte is also the first unlock value
UNLOCK2_AT      EQU   0554h       ; word 2AAh
UNLOCK2         EQU   55h
C_WORDPROGRAM   EQU   0A0h
C_ERASESETUP    EQU   80h
C_SECTORERASE   EQU   30h
C_AUTOSELECT    EQU   90h
C_RESET         EQU   0F0h
MAKER           EQU   003Ch
DEVICE          EQU   22C6h
STATUS_BITS     EQU   00ECh       ; DQ7, DQ6, DQ5, DQ3, DQ2

PROGRAM_POLLS   EQU   1000
ERASE_POLLS     EQU   1333333

        ORG   DRIVER

entry:  PUSH  R4
        PUSH  R5
        PUSH  R6
        PUSH  R7
        MOV   R15,#E_UNKNOWN
        CMP   R8,#F_STATUS
        JMPR  cc_EQ,known
        CMP   R8,#F_ERASE
        JMPR  cc_UGT,finish
known:  MOV   R15,#E_DEVICE
        CALL  findchip
        JMPR  cc_NZ,finish
        MOV   R15,#E_OK
        CMP   R8,#F_STATUS
        JMPR  cc_EQ,status
        MOV   laststat,R15        ; a program or erase starts afresh
        CMP   R8,#F_ERASE
        JMPR  cc_EQ,erase

; ---- program -----------------------------------------------------------------------------
program:
        CMP   R9,#0
        JMPR  cc_EQ,finish        ; nothing to do
        MOV   R8,R13
        OR    R8,R9
        JB    R8.0,badsec         ; odd address or count
        CALL  inside
        JMPR  cc_NC,badsec
        SHR   R9,#1               ; words
pword:  EXTS  R11,#1
        MOV   R8,[R10+]           ; the datum
        MOV   R4,#C_WORDPROGRAM
        CALL  command
        EXTS  R14,#1
        MOV   [R13],R8            ; the program cycle: the chip is busy from here
        MOV   R6,#PROGRAM_POLLS
        MOV   R7,#0
        CALL  poll
        JMPR  cc_NZ,finish
        EXTS  R14,#1
        MOV   R4,[R13+]
        CMP   R4,R8
        JMPR  cc_NE,bad
        SUB   R9,#1
        JMPR  cc_NZ,pword
        JMPR  cc_UC,finish

; ---- status: the three words kept from laststat on -----------------------------------------
status: CMP   R14,#2
        JMPR  cc_UGT,badsec
        SHL   R14,#1
        MOV   R8,[R14+#laststat]
        JMPR  cc_UC,finish

; ---- erase -------------------------------------------------------------------------------
erase:  MOV   R5,R14
        CALL  sector              ; R14:R13 = its start, R6 = its pages
        JMPR  cc_NC,badsec
        MOV   R9,R6
        MOV   R4,#C_ERASESETUP
        CALL  command
        EXTS  R12,#2              ; R5..R7 still hold the unlock cycles
        MOV   [R5],R5
        MOV   [R6],R7
        MOV   R4,#C_SECTORERASE
        EXTS  R14,#1
        MOV   [R13],R4            ; the sector's erase starts
        MOV   R6,#ERASE_POLLS & 0FFFFh
        MOV   R7,#ERASE_POLLS >> 16
        CALL  poll
        JMPR  cc_NZ,finish
        CALL  blank
        JMPR  cc_UC,finish

badsec: MOV   R15,#E_BADSECTOR
        JMPR  cc_UC,finish
bad:    MOV   R15,#E_VERIFY
finish: POP   R7
        POP   R6
        POP   R5
        POP   R4
        RETS

; ---- the chip ----------------------------------------------------------------------------
; command: the two unlock cycles and the command R4 at the chip (segment R12, base offset 0).
; Leaves R5 = UNLOCK1_AT, R6 = UNLOCK2_AT, R7 = UNLOCK2 for a second unlock.
command:
        MOV   R5,#UNLOCK1_AT
        MOV   R6,#UNLOCK2_AT
        MOV   R7,#UNLOCK2
        EXTS  R12,#3
        MOV   [R5],R5             ; AAh to word 555h
        MOV   [R6],R7             ; 55h to word 2AAh
        MOV   [R5],R4
        RET

; ident: the autoselect codes of a chip at R12:0000, then back to array reads.
; Out: Z set when they are this chip's. Uses R4..R7.
ident:  MOV   R4,#C_AUTOSELECT
        CALL  command
        MOV   R6,#0
        MOV   R7,#C_RESET
        EXTS  R12,#3
        MOV   R4,[R6+]            ; word 0: maker
        MOV   R5,[R6]             ; word 1: device
        MOV   [R6],R7             ; reset: any address
        SUB   R4,#MAKER
        SUB   R5,#DEVICE
        OR    R4,R5
        RET

; findchip: R12 = the chip's segment and sectab its sector table; Z set when found.
; Uses R4..R7.
findchip:
        MOV   R6,#boardtab
        MOV   sectab,R6
        MOV   R12,#BOARD_SEG
        CALL  ident
        JMPR  cc_Z,fback
        MOV   R6,#kesseltab
        MOV   sectab,R6
        MOV   R12,#KESSEL_SEG
        CALL  ident
fback:  RET

; poll: waits until the operation that reads at R14:R13 is over (XFLASH16.TXT, 4): DQ6
; still means over; DQ6 toggling with DQ5 set on two double reads in a row means failed.
; In:  R7:R6 = the most polls to make, R15 = E_OK. Out: R15 = E_OK, E_VERIFY (DQ5: the
;      chip gave up, and has been reset) or E_TIMEOUT; Z set for E_OK. Uses R4..R7.
; Time: 30 cycles a poll while the chip works.
poll:   EXTS  R14,#2
        MOV   R4,[R13]
        MOV   R5,[R13]
        XOR   R4,R5
        JNB   R4.6,pdone          ; DQ6 stood still: over
        JNB   R5.5,pwait
        CMP   R15,#E_VERIFY       ; DQ5 the second time round: failed
        JMPR  cc_EQ,pfail
        MOV   R15,#E_VERIFY
        JMPR  cc_UC,poll
pwait:  SRVWDT                    ; an erase outlasts the watchdog's period
        SUB   R6,#1
        SUBC  R7,#0
        JMPR  cc_NC,poll
        MOV   R15,#E_TIMEOUT
pfail:  AND   R5,#STATUS_BITS
        MOV   laststat,R5
        MOV   R4,#C_RESET         ; ends a failed operation; ignored while one still runs
        EXTS  R14,#1
        MOV   [R13],R4            ; F0h is not 0: Z clear
        RET
pdone:  MOV   R15,#E_OK
        RET

        INCLUDE "sector_table.asm"

; ---- data --------------------------------------------------------------------------------
sectab:   DW    boardtab
laststat: DW    0                 ; status word 0
          DW    (DEVICE & 0FFh) << 8 | (MAKER & 0FFh)   ; status word 1, as ident checked it
          DW    DRIVER_VERSION    ; status word 2

boardtab:
        DW    8
        DW    0800h, 0900h, 0900h, 0A00h, 0A00h, 0B00h, 0B00h, 0C00h
        DW    0C00h, 0D00h, 0D00h, 0E00h, 0E00h, 0F00h, 0F00h, 1000h
kesseltab:
        DW    4
        DW    0000h, 0080h, 0080h, 00FAh, 0100h, 0180h, 0180h, 0200h

        DS    0FE00h - $          ; stops the assembly if the driver outgrows 00FDFF

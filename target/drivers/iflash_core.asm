; The flash driver for the on-chip flash (IFLASH unit, data/MEMDEF/ONCHIP.TXT), common to
; the three types that have it. Each type's file sets the controller's facts and includes
; this one, then gives its sector tables:
;   PAGE_BYTES   bytes one program command takes (a word on MORVIK, a page on the others)
;   HAS_LOCKS    1 where the controller has sector locks and protection, else 0
;   M_PROTERR    FSR bit(s) of a refused program or erase (0 where there is none)
;   M_SEQERR     FSR bit of a broken command sequence
;   M_FAILED     FSR bits that say the cells did not take the value
;   M_KEPT       FSR bits that describe the last operation (errors, block number)
;   sectors      the sector table (see sector_table.asm)
;   mapped       the table while SYSCON.12 maps sector 0 elsewhere (MORVIK), else sectors
; Downloaded to 00F700 and called there by the host (see driver_interface.asm).
;
; Where it runs: 00F700..00F9FF is internal RAM on MORVIK (IRAM) and TOLVANE and BRASK
; (DPRAM), above the driver buffer (00F600, a burst of at most 100h bytes long) and below
; the monitor's bank and the default system stack (00FA00 on); the monitor area
; E00024..E002E7 is far away.
;
; Every operation starts with a clear status command, so that an old error bit is never
; taken for a new one, and ends with the read array command, so that the host reads cells
; again. The FSR read at its end is kept in lastfsr for F_STATUS.
;   F_PROGRAM  R9 bytes (even, in one sector) from R11:R10 to R14:R13, a program command a
;              page (a word on MORVIK); page words outside the burst are written FFFFh,
;              which changes nothing. Then every byte is read back and compared: E_VERIFY
;              when one differs. A locked sector or a protected unit: E_REFUSED.
;   F_ERASE    sector R14; afterwards every word must read FFFFh, else E_VERIFY.
;   F_STATUS   word R14 into R8: 0 the FSR as it reads now (busy, page mode, protection
;              installed) with the error and block number bits of the last operation;
;              1 the sector lock word; 2 the driver's version. Reading the FSR takes a clear
;              status command (the only command that changes nothing else); the error bits
;              it clears are those kept in lastfsr.
;   F_LOCK     sector R14.               F_UNLOCK    sector R14, password (R9 = 6 bytes).
;   F_PROTECT  the whole unit.           F_UNPROTECT the unit, password (R9 = 6 bytes).
;              The password is taken from R11 / 10h : R10. A wrong one, or one that is not
;              three words long: E_PASSWORD. Where HAS_LOCKS is 0 these four give
;              E_UNKNOWN, as does any other function number.
;
; Registers: R8..R15 as the interface gives them; R4..R7 are saved on the caller's stack.
; Stack: the four saved words and up to two near returns (inside, locate): six words
; besides the far return.
; Interrupts: the monitor calls with them off; nothing here turns them on.
; Time at 20 MHz: a poll of the busy controller takes 20 cycles (1 us); filling a page takes
; 15 instructions a word, the read back 8. Measured on the board's controller: a 128-byte
; burst 1.17 ms (the page takes 1 ms), a 256-byte burst on MORVIK 3.5 ms (128 words of
; 20 us), a 64 KB erase 358 ms (336 ms and the blank check), a 32 KB one on MORVIK 207 ms.
; Time-outs: 10000 polls (10 ms) for a page or word, a lock or a password; 2000000 polls
; (2 s) for an erase, six times the longest sector's 336 ms.

        INCLUDE "driver_interface.asm"

DRIVER          EQU   0F700h
SYSCON_W        EQU   0FF12h      ; bit 12: sector 0 mapped to its second address (MORVIK)

; The controller (ONCHIP.TXT): command words written into the flash range.
K_KEY1          EQU   00A5h
K_KEY2          EQU   005Ah
C_PROGRAM       EQU   0010h
C_ERASE         EQU   0030h
C_LOCK          EQU   0040h
C_UNLOCK        EQU   0041h
C_PROTECT       EQU   0050h
C_UNPROTECT     EQU   0051h
C_CLEAR         EQU   00F5h
C_READARRAY     EQU   00FFh

PROGRAM_POLLS   EQU   10000
ERASE_POLLS     EQU   2000000

        ORG   DRIVER

entry:  PUSH  R4
        PUSH  R5
        PUSH  R6
        PUSH  R7
        MOV   R6,#sectors
        JNB   SYSCON_W.12,tabled
        MOV   R6,#mapped
tabled: MOV   sectab,R6
        MOV   R15,#E_OK
        CMP   R8,#F_PROGRAM
        JMP   cc_EQ,program
        CMP   R8,#F_ERASE
        JMP   cc_EQ,erase
        CMP   R8,#F_STATUS
        JMP   cc_EQ,status
        MOV   R15,#E_UNKNOWN
        MOV   R4,#HAS_LOCKS
        JMP   cc_Z,finish
        CMP   R8,#F_LOCK
        JMP   cc_EQ,lock
        CMP   R8,#F_UNLOCK
        JMP   cc_EQ,unlock
        CMP   R8,#F_PROTECT
        JMP   cc_EQ,protect
        CMP   R8,#F_UNPROTECT
        JMP   cc_EQ,unprotect
        JMP   cc_UC,finish

; ---- program -----------------------------------------------------------------------------
; R7 = bytes of the first page before the burst, R9 = burst bytes still to write, R13 = the
; page word being written, R12 = where the FSR of this page is read.
program:
        CMP   R9,#0
        JMP   cc_EQ,finish        ; nothing to do
        MOV   R8,R13
        OR    R8,R9
        AND   R8,#1
        JMP   cc_NZ,badsec        ; odd address or count
        CALL  inside
        JMP   cc_NC,badsec
        MOV   vflash,R13
        MOV   vbuf,R10
        MOV   vcount,R9
        MOV   R7,R13
        AND   R7,#PAGE_BYTES-1
        SUB   R13,R7              ; the first page's first byte
        CALL  clear
ppage:  MOV   R12,R13
        AND   R12,#0FFFCh         ; FSR reads need address bit 1 clear
        MOV   R4,#C_PROGRAM
        CALL  keyed
        MOV   R6,#PAGE_BYTES/2
pfill:  MOV   R8,#0FFFFh          ; outside the burst: changes nothing
        CMP   R7,#0
        JMP   cc_EQ,pdata
        SUB   R7,#2
        JMP   cc_UC,pput
pdata:  CMP   R9,#0
        JMP   cc_EQ,pput
        EXTS  R11,#1
        MOV   R8,[R10+]
        SUB   R9,#2
pput:   EXTS  R14,#1
        MOV   [R13],R8            ; the last word of the page starts programming
        ADD   R13,#2
        SUB   R6,#1
        JMP   cc_NZ,pfill
        MOV   R6,#PROGRAM_POLLS   ; R7 is 0: the first page took all the bytes before
        CALL  wait
        JMP   cc_NZ,finish
        CMP   R9,#0
        JMP   cc_NZ,ppage
        MOV   R13,vflash
        MOV   R10,vbuf
        MOV   R9,vcount
pcheck: EXTS  R11,#1
        MOV   R8,[R10+]
        EXTS  R14,#1
        MOV   R4,[R13+]
        CMP   R4,R8
        JMP   cc_NE,bad
        SUB   R9,#2
        JMP   cc_NZ,pcheck
        JMP   cc_UC,finish

; ---- erase -------------------------------------------------------------------------------
erase:  MOV   R5,R14
        CALL  sector              ; R14:R13 = its start, R6 = its pages
        JMP   cc_NC,badsec
        MOV   R9,R6
        MOV   R12,R13
        CALL  clear
        MOV   R4,#C_ERASE
        CALL  keyed
        MOV   R6,#ERASE_POLLS & 0FFFFh
        MOV   R7,#ERASE_POLLS >> 16
        CALL  wait
        JMP   cc_NZ,finish
        CALL  blank
        JMP   cc_UC,finish

; ---- status ------------------------------------------------------------------------------
status: MOV   R9,R14
        MOV   R8,#DRIVER_VERSION
        CMP   R9,#2
        JMP   cc_UGT,badsec
        JMP   cc_EQ,finish
        MOV   R5,#0
        CALL  sector
        MOV   R12,R13
        CALL  clear               ; into status mode
        EXTS  R14,#2
        MOV   R8,[R12]            ; FSR
        MOV   R6,[R12+#2]         ; the lock word
        MOV   R4,#C_READARRAY
        EXTS  R14,#1
        MOV   [R12],R4
        CMP   R9,#0
        JMP   cc_EQ,sword0
        MOV   R8,R6
        JMP   cc_UC,finish
sword0: MOV   R5,lastfsr
        AND   R5,#M_KEPT
        OR    R8,R5
        JMP   cc_UC,finish

; ---- locks and protection ----------------------------------------------------------------
lock:   MOV   R5,R14
        CALL  sector
        JMP   cc_NC,badsec
        MOV   R8,#C_LOCK
simple: MOV   R12,R13
        CALL  clear
        MOV   R4,R8
        CALL  keyed
        MOV   R6,#PROGRAM_POLLS
        MOV   R7,#0
        CALL  wait
        JMP   cc_UC,finish

protect:
        MOV   R5,#0
        CALL  sector              ; sector 0: any flash address takes the command
        MOV   R8,#C_PROTECT
        JMP   cc_UC,simple

unlock: MOV   R5,R14
        CALL  sector
        JMP   cc_NC,badsec
        MOV   R8,#C_UNLOCK
        JMP   cc_UC,password
unprotect:
        MOV   R5,#0
        CALL  sector
        MOV   R8,#C_UNPROTECT
password:
        MOV   R15,#E_PASSWORD
        CMP   R9,#6
        JMP   cc_NE,finish
        MOV   R15,#E_OK
        SHR   R11,#4              ; the buffer's segment (R11 is its address / 1000h)
        MOV   R12,R13
        CALL  clear
        MOV   R4,R8
        CALL  keyed
        MOV   R6,#3
pword:  EXTS  R11,#1
        MOV   R8,[R10+]
        EXTS  R14,#1
        MOV   [R13],R8
        SUB   R6,#1
        JMP   cc_NZ,pword
        MOV   R6,#PROGRAM_POLLS
        MOV   R7,#0
        CALL  wait
        CMP   R15,#E_REFUSED      ; refused after a password: the password was wrong
        JMP   cc_NE,finish
        MOV   R15,#E_PASSWORD
        JMP   cc_UC,finish

badsec: MOV   R15,#E_BADSECTOR
        JMP   cc_UC,finish
bad:    MOV   R15,#E_VERIFY
finish: POP   R7
        POP   R6
        POP   R5
        POP   R4
        RETS

; ---- the controller ----------------------------------------------------------------------
; clear: the clear status command at R14:R13. keyed: the two keys and the command R4 there.
; Uses R4 (clear), R5.
clear:  MOV   R4,#C_CLEAR
keyed:  MOV   R5,#K_KEY1
        EXTS  R14,#1
        MOV   [R13],R5
        MOV   R5,#K_KEY2
        EXTS  R14,#1
        MOV   [R13],R5
        EXTS  R14,#1
        MOV   [R13],R4
        RET

; wait: polls the FSR at R14:R12 until BUSY is 0, keeps it in lastfsr, returns the
; controller to array reads and says what its error bits mean.
; In:  R7:R6 = the most polls to make. Out: R8 = the FSR; R15 = E_OK, E_REFUSED, E_DEVICE,
;      E_VERIFY or E_TIMEOUT (then still in status mode: it takes no command while busy);
;      Z set for E_OK. Uses R4, R6, R7.
; Time: 20 cycles a poll while the controller works.
wait:   EXTS  R14,#1
        MOV   R8,[R12]
        JNB   R8.0,wdone          ; BUSY
        SRVWDT                    ; an erase outlasts the watchdog's period
        SUB   R6,#1
        SUBC  R7,#0
        JMP   cc_NC,wait
        MOV   lastfsr,R8
        MOV   R15,#E_TIMEOUT
        RET
wdone:  MOV   lastfsr,R8
        MOV   R4,#C_READARRAY
        EXTS  R14,#1
        MOV   [R12],R4
        MOV   R15,#E_REFUSED
        MOV   R4,R8
        AND   R4,#M_PROTERR
        JMP   cc_NZ,wback
        MOV   R15,#E_DEVICE
        MOV   R4,R8
        AND   R4,#M_SEQERR
        JMP   cc_NZ,wback
        MOV   R15,#E_VERIFY
        MOV   R4,R8
        AND   R4,#M_FAILED
        JMP   cc_NZ,wback
        MOV   R15,#E_OK
wback:  RET

        INCLUDE "sector_table.asm"

; ---- data --------------------------------------------------------------------------------
sectab: DW    sectors
lastfsr:
        DW    0
vflash: DW    0                   ; the burst, for the read back after programming
vbuf:   DW    0
vcount: DW    0

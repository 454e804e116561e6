; The on-chip flash driver of MORVIK (DRIVER\IFLASH_MORVIK.HEX): word programming, no
; locks or protection (the memory file lists neither), a block number in the FSR.
; Everything but the facts below is in iflash_core.asm.

PAGE_BYTES      EQU   2
HAS_LOCKS       EQU   0
M_PROTERR       EQU   0
M_SEQERR        EQU   0010h       ; SEQUENCE_ERROR
M_FAILED        EQU   000Eh       ; PROGRAM_ERROR, ERASE_ERROR, VPP_LOW
M_KEPT          EQU   031Eh       ; those, SEQUENCE_ERROR and BLOCK_NUMBER (bits 8, 9)

        INCLUDE "iflash_core.asm"

; The IFLASH sections of MORVIK.MEM: four 32 KB sectors; sector 0 at 000000, or at its map
; address 010000 while SYSCON.12 is set.
sectors:
        DW    4
        DW    0000h, 0080h, 0180h, 0200h, 0200h, 0280h, 0280h, 0300h
mapped:
        DW    4
        DW    0100h, 0180h, 0180h, 0200h, 0200h, 0280h, 0280h, 0300h

        DS    0FA00h - $          ; stops the assembly if the driver outgrows 00F9FF

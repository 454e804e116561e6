; The on-chip flash driver of TOLVANE (DRIVER\IFLASH_TOLVANE.HEX): page programming,
; sector locks, protection. Everything but the facts below is in iflash_core.asm.

PAGE_BYTES      EQU   128
HAS_LOCKS       EQU   1
M_PROTERR       EQU   0020h       ; PROTECTION_ERROR
M_SEQERR        EQU   0010h       ; SEQUENCE_ERROR
M_FAILED        EQU   004Ch       ; PROGRAM_ERROR, ERASE_ERROR, OPERATION_ERROR
M_KEPT          EQU   007Ch       ; bits 2..6

        INCLUDE "iflash_core.asm"

; The IFLASH sections of TOLVANE.MEM: four 8 KB, one 32 KB, one 64 KB sector from C00000.
sectors:
        DW    6
        DW    0C000h, 0C020h, 0C020h, 0C040h, 0C040h, 0C060h, 0C060h, 0C080h
        DW    0C080h, 0C100h, 0C100h, 0C200h
mapped  EQU   sectors

        DS    0FA00h - $          ; stops the assembly if the driver outgrows 00F9FF

; The monitor core for a two-wire (RS-232) connection: the common source with KLINE = 0.
; Assembles to the 0x2C4 bytes the loader in ../loader/load.asm takes to E00024.

KLINE   EQU   0

        INCLUDE "monitor_core.asm"

; The monitor core for a one-wire (K-line) connection: the common source with KLINE = 1, so
; that after every byte it sends the monitor takes its own byte back from the receiver.
; Assembles to the 0x2C4 bytes the loader in ../loader/loadk.asm takes to E00024.

KLINE   EQU   1

        INCLUDE "monitor_core.asm"

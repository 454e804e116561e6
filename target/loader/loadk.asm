; The loader for a one-wire (K-line) connection: the 32 bytes the bootstrap ROM takes into
; internal RAM at 00FA40 and starts. It is the loader of load.asm with one difference: on
; one wire the receiver hears every byte the controller sends, so the A_LOADER_STARTED
; byte comes back before the monitor core does. The index starts one lower, and that echo
; lands at E00023, just below the monitor area, where it does no harm.
;
; Registers: R0 of the reset bank at CP = FC00. DPP0 = 0380h when the monitor starts.
; Stack: none.
; Time: 6 instructions (20 cycles, 1 us at 20 MHz) a byte.
;
; Exactly 32 bytes, as the ROM takes them; the tests check the length.

        ORG   0FA40h

        MOV   S0TBUF,#0001h       ; A_LOADER_STARTED
        MOV   DPP0,#0380h         ; page 380h = E00000..E03FFF
        MOV   R0,#0023h           ; the echo of 01 goes to E00023, the core from E00024 on
next:   JNB   S0RIR,next
        BCLR  S0RIR
        MOVB  [R0],S0RBUF
        CMPI1 R0,#02E7h           ; compares before counting up: E002E7 is the last byte
        JMPR  cc_NE,next
        JMPS  0E0h,0024h          ; the monitor's cold start

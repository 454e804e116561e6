; The loader: the 32 bytes the bootstrap ROM takes into internal RAM at 00FA40 and starts.
; It says it runs (A_LOADER_STARTED), takes the monitor core from the first serial channel
; into E00024..E002E7 and starts it there.
;
; The ROM has set up S0 at the host's rate and left S0RIR clear; nothing here touches the
; channel's settings. The byte to E00000 + R0 goes through DPP0 = 0380h (the page of
; E00000), because an EXTS would extend the S0RBUF operand of the same instruction too.
; DPP0 keeps 0380h when the monitor starts; the monitor never uses it.
; Registers: R0 of the reset bank at CP = FC00 (the index into the monitor's segment).
; Stack: none.
; Time: 6 instructions (20 cycles, 1 us at 20 MHz) a byte, far less than one frame at any
; rate the ROM can measure: the receive buffer never overruns.
;
; The ROM takes exactly 32 bytes: every byte of this file counts, and the tests check that
; it assembles to exactly that many.

        ORG   0FA40h

        MOV   S0TBUF,#0001h       ; A_LOADER_STARTED; it leaves while the first bytes come in
        MOV   DPP0,#0380h         ; page 380h = E00000..E03FFF
        MOV   R0,#0024h           ; the first byte of the core lands at E00024
next:   JNB   S0RIR,next
        BCLR  S0RIR
        MOVB  [R0],S0RBUF
        CMPI1 R0,#02E7h           ; compares before counting up: E002E7 is the last byte
        JMPR  cc_NE,next
        JMPS  0E0h,0024h          ; the monitor's cold start

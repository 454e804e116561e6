; Unsigned division of two 32-bit numbers by shifting and subtracting, one quotient bit
; a round (the processor divides only 32 by 16 bits).
;
; Called with a far call (the monitor's _call), returns with RETS.
; In:   R9:R8   = dividend (high word : low word)
;       R11:R10 = divisor
; Out:  R9:R8   = quotient, R11:R10 = remainder
;       A divisor of 0 gives the quotient FFFFFFFFh and the dividend as remainder, which is
;       what the rounds work out to; callers that care test the divisor first.
; Uses: R12, R13 (the remainder while it grows), R14 (the round counter).
; Time: 32 rounds of 10 to 13 instructions.

        ORG   0E00500h

div32:  MOV   R12,#0
        MOV   R13,#0
        MOV   R14,#32
round:  SHL   R8,#1               ; quotient and dividend move left as one 64-bit number:
        ADDC  R9,R9               ; R13:R12:R9:R8
        ADDC  R12,R12
        ADDC  R13,R13
        JMPR  cc_C,take           ; 33 bits: more than any divisor
        CMP   R13,R11
        JMPR  cc_ULT,next
        JMPR  cc_NE,take
        CMP   R12,R10
        JMPR  cc_ULT,next
take:   SUB   R12,R10
        SUBC  R13,R11
        OR    R8,#1
next:   SUB   R14,#1
        JMPR  cc_NZ,round
        MOV   R10,R12
        MOV   R11,R13
        RETS

; CRC-16 over a block anywhere in the 16 MB address space: polynomial 1021h, start value
; FFFFh, bits taken most significant first, no final inversion. The check value of the
; nine characters "123456789" is 29B1h.
;
; Called with a far call (the monitor's _call), returns with RETS.
; In:   R8  = offset of the block
;       R9  = segment of the block (address / 10000h)
;       R10 = length in bytes (0: the result is FFFFh)
; Out:  R8  = the CRC
;       R9  = the segment after the block, R10 = 0
; Uses: R11, R12; R1 is saved on the system stack (one word).
; Time: about 30 instructions a byte.

        ORG   0E00400h

crc16:  PUSH  R1
        MOV   R11,#0FFFFh
        CMP   R10,#0
        JMPR  cc_Z,done
nextbyte:
        EXTS  R9,#1               ; the read below addresses the block's segment
        MOVB  RL1,[R8+]
        CMP   R8,#0               ; the offset wrapped: the block goes on in the next segment
        JMPR  cc_NZ,merge
        ADD   R9,#1
merge:  MOVBZ R12,RL1
        SHL   R12,#8
        XOR   R11,R12
        MOV   R12,#8
nextbit:
        SHL   R11,#1              ; C = the bit shifted out
        JMPR  cc_NC,nopoly
        XOR   R11,#1021h
nopoly: SUB   R12,#1
        JMPR  cc_NZ,nextbit
        SUB   R10,#1
        JMPR  cc_NZ,nextbyte
done:   MOV   R8,R11
        POP   R1
        RETS

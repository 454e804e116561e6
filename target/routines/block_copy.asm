; Copies a block of words from any place of the 16 MB address space to any other, a word
; at a time through EXTS, so that source and destination may lie in different segments and
; either may cross a segment boundary. Overlapping blocks are copied upwards: a destination
; above an overlapping source gets a repeated pattern, as with any forward copy.
;
; Called with a far call (the monitor's _call), returns with RETS.
; In:   R8  = source offset (even)       R9  = source segment
;       R10 = destination offset (even)  R11 = destination segment
;       R12 = number of words (0: nothing is copied)
; Out:  R8..R11 = the addresses after both blocks, R12 = 0
; Uses: R13.
; Time: 10 instructions a word.

        ORG   0E00480h

copy:   CMP   R12,#0
        JMPR  cc_Z,done
next:   EXTS  R9,#1
        MOV   R13,[R8+]
        EXTS  R11,#1
        MOV   [R10],R13
        ADD   R10,#2              ; C = the destination offset wrapped
        ADDC  R11,#0
        CMP   R8,#0               ; the source offset wrapped
        JMPR  cc_NZ,counted
        ADD   R9,#1
counted:
        SUB   R12,#1
        JMPR  cc_NZ,next
done:   RETS

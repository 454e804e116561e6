; Sector look-ups shared by the flash drivers. The including file defines the word
; variable sectab, which holds the offset of the sector table in use:
;   DW  number of sectors
;   DW  first page, end page      (per sector in the SECTION order of the memory file, in
;   ...                            256-byte pages: address / 100h; the end page is the
;                                  first one after the sector)
; No sector crosses a 64 KB segment boundary, so a sector's words are walked with one
; segment and a 16-bit offset.
; The driver's own words (tables, variables) are read through DPP3 = 3, the system page:
; every driver runs in segment 0 above 00C000, and the monitor never moves DPP3.
; The routines are near calls and use only the registers they name. C set on return means
; "yes" (found, exists, inside) throughout.

; locate: the sector that holds the page R5.
; In:  R5 = page. Out: C set when a sector holds it, R8 = that sector's end page.
; Uses R6, R7, R8. Time: 9 instructions (22 cycles) a sector passed.
locate: MOV   R6,sectab
        MOV   R7,[R6+]            ; sectors still to look at
lnext:  SUB   R7,#1
        JMPR  cc_C,lnone
        MOV   R8,[R6+]            ; the sector's first page
        CMP   R5,R8               ; C: below it
        MOV   R8,[R6+]            ; its end page (MOV leaves C alone)
        JMPR  cc_C,lnext
        CMP   R5,R8               ; C: below its end, so in it
        JMPR  cc_NC,lnext
        RET
lnone:  AND   R7,R7               ; clears C
        RET

; sector: where sector R5 lies.
; In:  R5 = sector number. Out: C set when there is one; then R14 = its segment, R13 = the
;      offset of its first byte, R6 = its length in pages.
; Uses R7, R8.
sector: MOV   R6,sectab
        MOV   R7,[R6+]            ; the number of sectors
        CMP   R5,R7               ; C: R5 is one of them
        JMPR  cc_NC,sret
        MOV   R8,R5
        SHL   R8,#2
        ADD   R6,R8
        MOV   R13,[R6+]           ; first page
        MOV   R6,[R6]             ; end page
        SUB   R6,R13
        MOV   R14,R13
        SHR   R14,#8
        SHL   R13,#8
        CMP   R5,R7               ; C set again
sret:   RET

; inside: whether a burst lies in one sector.
; In:  R14:R13 = its first byte, R9 = its length in bytes (1..8000h).
; Out: C set when its first and last byte are in the same sector. Uses R5..R8.
inside: MOV   R5,R13
        SHR   R5,#8
        MOV   R8,R14
        SHL   R8,#8
        OR    R5,R8               ; page of the first byte
        CALL  locate
        JMPR  cc_NC,iret
        MOV   R6,R13
        MOVBZ R6,RL6              ; the first byte's place in its page
        ADD   R6,R9
        SUB   R6,#1
        SHR   R6,#8               ; pages from the first byte's to the last byte's
        ADD   R6,R5
        CMP   R6,R8               ; C: below the end of the first byte's sector
iret:   RET

; blank: whether a sector reads erased (FFFFh in every word).
; In:  R14:R13 = its first byte, R9 = its length in pages.
; Out: R15 = E_OK or E_VERIFY; Z set when blank. Uses R4, R9, R13.
; Time: 6 instructions (14 cycles) a word: 23 ms at 20 MHz for 64 KB.
blank:  SHL   R9,#7               ; words: at most 8000h for a 64 KB sector
bnext:  EXTS  R14,#1
        MOV   R4,[R13+]
        CPL   R4                  ; Z: the word was FFFFh
        JMPR  cc_NZ,bbad
        SUB   R9,#1
        JMPR  cc_NZ,bnext
        MOV   R15,#E_OK
        RET
bbad:   MOV   R15,#E_VERIFY
        RET

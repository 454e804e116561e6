; a small test
        ORG   0F600h
start:  MOV   R1,#2
        ADD   R1,R2
        MOV   R3,#1234h
        MOV   SP,R2
        MOV   R1,DPP1:1234h
        BSET  IEN
        BCLR  P2.5
        JB    IEN,start
        JMP   later
        CALL  far
        MOV   R3,[R4+#2]
        EXTS  #1,#1
        ATOMIC #3
        TRAP  #1Ah
        RETI
        SRST
        DB    "AB",1,2
        DW    1234h, later
later:  JMPR  cc_NZ,start
        ALIGN 4
value   EQU   (later-start)/2
        DW    value
        ORG 20000h
far:    RET

        ORG   12340h
        EXTS    #01h,#1
        MOV     R1,5234h
        EXTR    #2
        PUSH    T7
        BFLDH   PSW,#F0h,#30h
        BCLR    FD08.0
        MOV     [R4+#0002h],R3
        CMP     R3,[R2+]
        JB      IEN,234Eh
        TRAP    #1A
        JMP     cc_Z,far
far:    CALLS   01h,1234h

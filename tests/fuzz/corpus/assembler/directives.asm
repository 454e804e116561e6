n       EQU   m+1
m       EQU   (40h << 2) | ~0FFh & 0F0h
        ORG   3FFFEh
        DW    n, $, -1
        DS    3
        ALIGN 8
        DB    "text;", 'x', 0
        INCLUDE main.asm
        END

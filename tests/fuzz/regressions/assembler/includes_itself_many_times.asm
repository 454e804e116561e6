n       EQU   m+1
m       EQU   (40h << 2) | ~0FFh & 0F0h
        O     DW    n, $, - 0
       DS    3
        ALIGN 8
        DB    "t    EQU   m+1
m       EQU   (40h << 2) | ~0FFh & 0F0h
        O     DW    n, $, - 0
       DS    3
        ALIGN 8
        DB    "text;", 'x', 0
        INCLUDE main.asm
        ext;", 'x', 0
        INCLUDE main.asm
        END

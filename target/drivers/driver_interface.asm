; What the host and every flash driver agree on: the function numbers it passes in R8 and
; the result codes a driver leaves in R15. Included by each driver's source.
;
; Every driver is called with a far call through the monitor and comes back with RETS:
;   R8  function    R9  byte count (burst or password)    R10 buffer offset
;   R11 buffer segment (burst: address / 10000h; password: address / 1000h)
;   R13 flash offset    R14 flash segment, sector or status word number
; and leaves its result in R15 (status word in R8 for F_STATUS).

F_PROGRAM       EQU   00h
F_ERASE         EQU   01h
F_STATUS        EQU   06h
F_LOCK          EQU   10h
F_UNLOCK        EQU   11h
F_PROTECT       EQU   20h
F_UNPROTECT     EQU   21h

E_OK            EQU   0           ; done
E_REFUSED       EQU   1           ; locked sector or protected unit
E_BADSECTOR     EQU   2           ; no such sector or status word, or the bytes of a burst
                                  ; are not in one sector, or an odd address or count
E_PASSWORD      EQU   3           ; the password was not taken
E_UNKNOWN       EQU   4           ; a function this flash does not have
E_TIMEOUT       EQU   5           ; the device still worked when the driver's bound ran out
E_VERIFY        EQU   6           ; read back differs, or the device said the cells did not
                                  ; take the value
E_DEVICE        EQU   7           ; the device refused the command sequence or did not answer

; Status word 2: version 2, revision 0 (the images before these drivers said 1.2).
DRIVER_VERSION  EQU   0200h

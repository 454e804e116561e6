_assign %1=0
DO
 DO
  _assign %1=%1+1
 LOOP UNTIL 3
 IF %1=6
  _cmessage "six",%1
 ELSE
  _assign %2=%2+1
 ENDIF
LOOP UNTIL 4
IF %1<=2

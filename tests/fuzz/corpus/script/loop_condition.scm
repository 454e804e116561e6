; A loop with a condition: count to five, say something on the third pass.
_assign %1=0
DO
  _assign %1=%1+1
  IF %1=3
    _cmessage "third pass",%1
  ELSE
    _assign %2=%2+1
  ENDIF
LOOP UNTIL 5
IF %1=5
  _cmessage "counted to",%1
ENDIF

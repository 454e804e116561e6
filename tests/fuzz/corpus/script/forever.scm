DO
_assign %2=%2+1
LOOP

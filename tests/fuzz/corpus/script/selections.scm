; load, fill, checksum and paste
_load demo_ram.hex
_addselection FFFF00,FFFFFF
_fillmemory 1234
_xorchecksum 8
_copy
_paste 0
_executescript input.scm
LOOP
ELSE

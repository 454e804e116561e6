; Program a HEX file into flash and verify it: every sector it touches is erased first.
; Expects a connected target (run connect_download.scm or _connect first).
_load SCRIPTS\demo_flash.hex
_iprogram
_compare
_addcchecksum 16,1

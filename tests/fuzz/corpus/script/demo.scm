; Demonstration on the default board: connect, bring a program into RAM and check it,
; then program flash (each sector erased first) and check that too.
_connect
_load SCRIPTS\demo_ram.hex
_download
_compare
_load SCRIPTS\demo_flash.hex
_iprogram
_compare
_idreg

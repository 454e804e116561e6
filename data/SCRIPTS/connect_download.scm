; Connect to the board and bring a HEX file into its RAM, then check it.
_connect
_load SCRIPTS\demo_ram.hex
_download
_compare
_xorchecksum 16

# The MIB with the number of the enterprise filled in, as build/share/mibs/ZOLARC-MIB.txt.
configure_file(share/mibs/ZOLARC-MIB.txt.in share/mibs/ZOLARC-MIB.txt @ONLY)

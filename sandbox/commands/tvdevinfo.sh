#!/bin/sh
# Lists the disk pools: -listdp -stype Kestrel -l. The sandbox's own pool belongs to this host.
host=$(uname -n)
echo "V9 dp_elsewhere 1 2048.00 1024.00 50 98 80 -1 0 Kestrel elsewhere.example.lan"
echo "V9 dp_sandbox 1 2048.00 1024.00 50 98 80 -1 0 Kestrel $host"

#!/bin/sh
# Installs, uses and purges the Debian packages that lie in /tmp, inside a new root.
set -eu
export DEBIAN_FRONTEND=noninteractive LC_ALL=C
ours() { find / -xdev \( -path /proc -o -path /sys -o -path /tmp \) -prune -o \
    \( -name '*qva*' -o -name '*Rvx32P*' -o -path '*/lumo*' \) -print; }
quietly() { "$@" > /tmp/log 2>&1 || { tail /tmp/log; exit 1; }; }
[ -z "$(ours)" ] || { echo 'something of ours is there before'; exit 1; }
quietly apt-get install -qq --yes --no-install-recommends /tmp/*.deb
[ "$(ours | wc -l)" -gt 10 ]

cd /tmp
python3 -c '
import numpy as np, qva
light = np.geomspace(0.01, 8, 64 * 48 * 3, dtype=np.float32).reshape(48, 64, 3)
qva.write("codes.png", qva.print_image(light))'
qva print codes.png -o print.tif --quiet
python3 -c '
import numpy as np, qva
assert (qva.print_image(qva.read("codes.png")) == qva.read("print.tif").pixels).all()'
cc all_exports.c -o all_exports $(pkg-config --cflags --libs qva)
./all_exports

quietly apt-get purge -qq --yes qva python3-qva libqva-dev libqva1
[ -z "$(ours)" ] || { echo 'left behind:'; ours; exit 1; }
! dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' | grep -v '^ii'

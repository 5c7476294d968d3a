"""Writes the rings of a one-machine Swift: swift-rings.py FOLDER name=port...

One process builds all rings, because starting Python takes longer than building them.
"""

import os
import sys

from swift.common.ring import RingBuilder

folder = sys.argv[1]
for argument in sys.argv[2:]:
    name, port = argument.split("=")
    builder = RingBuilder(part_power=4, replicas=1, min_part_hours=1)
    device = {"region": 1, "zone": 1, "device": "d1", "weight": 100}
    builder.add_dev({**device, "ip": "127.0.0.1", "port": int(port)})
    builder.rebalance()
    builder.get_ring().save(os.path.join(folder, name + ".ring.gz"))

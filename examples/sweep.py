"""Sweeps a variable and writes what hangs on it, as a table to plot. First, in another terminal:

    qv run waveguide.qv
    qv serve ring.prj
"""

import qvclient

with qvclient.connect() as app:
    geometry = app.findnode("Ring filter/geometry")
    ring = app.findnode("Ring filter/ring")
    print("R,length,order")
    for radius in range(5, 26, 5):
        geometry.setvariable("R", radius)
        print(radius, ring.length, ring.order, sep=",")

"""Sweeps a variable of a project and writes what hangs on it, as a table to plot.

    qv serve            # in one terminal
    python3 sweep.py    # in another, with the folder `python` on PYTHONPATH
"""

import qvclient

with qvclient.connect() as app:
    app.addsubnode("projectTB", "Ring filter")
    project = app.findnode("Ring filter")
    project.addsubnode("variablesTB", "geometry")
    project.addsubnode("parametersTB", "ring")
    geometry, ring = project.findnode("geometry"), project.findnode("ring")

    geometry.addvariable("radius")
    ring.addparameter("length", "double", "um, once around")
    ring.addparameter("fsr", "double", "nm, between two resonances at 1.55 um")
    ring.length = "2*_PI*radius"
    ring.fsr = "1e3*1.55**2/(4.2*2*_PI*radius)"

    print("radius,length,fsr")
    for radius in range(5, 26, 5):
        geometry.setvariable("radius", radius)
        print(f"{radius},{ring.length:.3f},{ring.fsr:.3f}")

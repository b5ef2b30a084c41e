"""Sweeps the thickness of the nitride film and prints where it guides one mode only.

    qv run nitride.qv            # makes nitride.prj
    qv serve nitride.prj         # in one terminal
    python3 nitride_thickness.py # in another, with the folder `python` on PYTHONPATH

Another port than 5101 goes after the script's name.
"""

import sys

import qvclient

port = int(sys.argv[1]) if len(sys.argv) > 1 else 5101
with qvclient.connect(port=port) as app:
    project = app.findnode("Nitride guide")
    process = project.findnode("process")
    te, tm = project.findnode("TE"), project.findnode("TM")

    # One solution at a time, for what hangs on both polarisations.
    print("deposited  neff TE0  neff TM0  birefringence")
    before = process.getvariable("deposited")
    for step in range(4, 13, 2):
        process.setvariable("deposited", step / 10)
        indices = [complex(guide.neff(1)).real for guide in (te, tm)]
        print(f"{step / 10:9.2f}  {indices[0]:.6f}  {indices[1]:.6f}  {indices[0] - indices[1]:.6f}")
    process.setvariable("deposited", before)

    # The program's own scan, on all cores.
    points = te.scan("deposited", 0.1, 1.3, 601)
    single = [te.scanvalue(k) for k in range(1, points + 1) if te.scannummodes(k) == 1]
    print(f"one TE mode from {min(single):.3f} to {max(single):.3f} um deposited")
    te.savesvg("nitride_thickness.svg")
    print("nitride_thickness.svg")

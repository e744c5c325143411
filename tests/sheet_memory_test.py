#!/usr/bin/env python3
"""A sheet of ten photographs of 12 megapixels with five tries each takes less than 400 MB.

sheet_memory_test.py RASTELO PICTURE
"""
import os
import resource
import subprocess
import sys
import tempfile

tool, picture = (os.path.abspath(path) for path in sys.argv[1:3])
TRIES = ["gray threshold=otsu", "edges", "sobel", "zoom=0.5", "clean-page"]

with tempfile.TemporaryDirectory() as work:
    os.chdir(work)
    subprocess.run([tool, "run", picture, "size=4000x3000", "save=photo.jpg"], check=True)
    tries = [word for steps in TRIES for word in ("--try", steps)]
    subprocess.run([tool, "sheet", "-o", "sheet.jpg", *["photo.jpg"] * 10, *tries], check=True)
    peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024
    print(f"{peak} MB at most")
    sys.exit(peak >= 400)

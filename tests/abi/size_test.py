#!/usr/bin/env python3
"""size_test.py STRIP LIBRARY LIMIT: the stripped library must not be larger than LIMIT bytes."""

import os
import subprocess
import sys
import tempfile

strip, library, limit = sys.argv[1], sys.argv[2], int(sys.argv[3])
with tempfile.TemporaryDirectory() as folder:
    stripped = os.path.join(folder, "stripped")
    subprocess.run([strip, "-o", stripped, library], check=True)
    size = os.path.getsize(stripped)
print(f"{os.path.basename(library)}: {size} bytes stripped, at most {limit}")
sys.exit(0 if 0 < size <= limit else 1)

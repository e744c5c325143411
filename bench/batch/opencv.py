"""The work of batch_bench.sh by opencv-python: opencv.py FOLDER PICTURE..."""
import multiprocessing
import os
import sys

import cv2


def work(path):
    cv2.setNumThreads(1)
    gray = cv2.cvtColor(cv2.imread(path), cv2.COLOR_BGR2GRAY)
    half = cv2.resize(cv2.equalizeHist(gray), None, fx=0.5, fy=0.5)
    out = os.path.join(sys.argv[1], os.path.basename(path))
    return cv2.imwrite(out, half, [cv2.IMWRITE_JPEG_QUALITY, 75])


if __name__ == "__main__":
    with multiprocessing.Pool(2) as pool:
        sys.exit(0 if all(pool.map(work, sys.argv[2:], chunksize=1)) else 1)

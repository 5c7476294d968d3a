#!/usr/bin/env python3
"""Lists the buckets of an account: list_buckets.py ENDPOINT ACCESS-KEY SECRET-KEY"""

import sys

import vemlo

if len(sys.argv) != 4:
    sys.exit(2)
_, endpoint, access_key, secret_key = sys.argv
try:
    with vemlo.Library(), vemlo.S3(endpoint, "", access_key, secret_key) as s3:
        for bucket in s3.buckets():
            print(bucket)
except vemlo.Failure as failure:
    sys.exit(str(failure))

"""Asks an S3 server what the tests want to know, as an independent client: boto3.

judge.py SERVER writes one JSON object: question -> answer, where an answer is what was asked for,
"ok" when that is nothing in particular, or [status, error code].
"""

import json
import os
import sys

import boto3
from botocore.config import Config
from botocore.exceptions import ClientError

with open(os.environ["VEMLO_SANDBOX_STATE"], encoding="utf-8") as file:
    STATE = json.load(file)
SERVER = STATE[sys.argv[1]]


def client(owner="", secret=None, style="path", host=None, region="us-east-1"):
    internet = STATE["internet"]
    proxies = {"https": f"http://{internet['proxyHost']}:{internet['proxyPort']}"} if host else {}
    return boto3.client(
        "s3",
        endpoint_url=f"https://{host}" if host else SERVER["endpoint"],
        region_name=region,
        aws_access_key_id=SERVER["otherAccessKey" if owner else "accessKey"],
        aws_secret_access_key=secret or SERVER["otherSecretKey" if owner else "secretKey"],
        verify=internet["caFile"],
        config=Config(s3={"addressing_style": style}, retries={"max_attempts": 0}, proxies=proxies),
    )


def ask(call):
    try:
        answer = call()
    except ClientError as error:
        answer = error.response
        return [answer["ResponseMetadata"]["HTTPStatusCode"], answer["Error"]["Code"]]
    if "Buckets" in answer:
        return [bucket["Name"] for bucket in answer["Buckets"]]
    return answer.get("LocationConstraint", "ok")


def create(caller, name, region=None):
    placed = {"CreateBucketConfiguration": {"LocationConstraint": region}} if region else {}
    return ask(lambda: caller.create_bucket(Bucket=name, **placed))


def keys(caller, name):
    return [item["Key"] for item in caller.list_objects_v2(Bucket=name).get("Contents", [])]


main = client()
other = client("other")
outside = client(host="s3.amazonaws.com")
virtual = client(host="s3.us-east-1.amazonaws.com", style="virtual")
europe = client(host="s3.eu-central-1.amazonaws.com", style="virtual", region="eu-central-1")
mistaken = client(host="s3.eu-central-1.amazonaws.com", region="us-east-1")

answers = {
    "bad secret": ask(client(secret="not-the-secret").list_buckets),
    "wrong region in the scope": ask(client(region="eu-west-3").list_buckets),
    "create": create(main, "judged"),
    "own bucket again": create(main, "judged"),
    "another owner's bucket": create(other, "judged"),
    "listing another owner's bucket": ask(lambda: other.list_objects_v2(Bucket="judged")),
    "another bucket of the other owner": create(other, "judged-other"),
    "buckets": ask(main.list_buckets),
    "buckets of the other owner": ask(other.list_buckets),
    "put through the proxy": ask(
        lambda: virtual.put_object(Bucket="judged", Key="a/é &+ b", Body=b"x" * 300000)
    ),
    "keys": keys(main, "judged"),
    "keys through the proxy": keys(virtual, "judged"),
    "missing bucket": ask(lambda: main.list_objects_v2(Bucket="judged-missing")),
    "LocationConstraint us-east-1": create(main, "judged-us", "us-east-1"),
    "LocationConstraint eu-central-1, through the proxy": create(
        outside, "judged-eu", "eu-central-1"
    ),
    "LocationConstraint of nowhere": create(main, "judged-moon", "moon-1"),
    "bucket of eu-central-1": ask(lambda: main.list_objects_v2(Bucket="judged-eu")),
    "LocationConstraint eu-central-1, at its own host": create(
        europe, "judged-there", "eu-central-1"
    ),
    "LocationConstraint us-east-1, at the host of eu-central-1": create(
        europe, "judged-not-there", "us-east-1"
    ),
    "location at the host of eu-central-1": ask(
        lambda: europe.get_bucket_location(Bucket="judged-there")
    ),
    "location at the host of us-east-1": ask(
        lambda: virtual.get_bucket_location(Bucket="judged-there")
    ),
    "buckets, signed for the other region": ask(mistaken.list_buckets),
    # boto3 signs again for the region that the body of an error names; a HEAD's has no body.
    "head of a bucket, signed for the other region": ask(
        lambda: mistaken.head_bucket(Bucket="judged-there")
    ),
    "bucket, signed for the other region and then again": ask(
        lambda: mistaken.list_objects_v2(Bucket="judged-there")
    ),
}
json.dump(answers, sys.stdout)

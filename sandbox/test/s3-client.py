"""Checks an S3 server with an independent client, boto3. Usage: s3-client.py SERVER

Writes one JSON object: check -> result. A result is a list of names, a location, "ok" for other
successful calls, or [status, error code].
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


def result_of(call):
    try:
        response = call()
    except ClientError as error:
        response = error.response
        return [response["ResponseMetadata"]["HTTPStatusCode"], response["Error"]["Code"]]
    if "Buckets" in response:
        return [bucket["Name"] for bucket in response["Buckets"]]
    return response.get("LocationConstraint", "ok")


def create(caller, name, region=None):
    placed = {"CreateBucketConfiguration": {"LocationConstraint": region}} if region else {}
    return result_of(lambda: caller.create_bucket(Bucket=name, **placed))


def keys(caller, name):
    return [item["Key"] for item in caller.list_objects_v2(Bucket=name).get("Contents", [])]


main = client()
other = client("other")
outside = client(host="s3.amazonaws.com")
virtual = client(host="s3.us-east-1.amazonaws.com", style="virtual")
europe = client(host="s3.eu-central-1.amazonaws.com", style="virtual", region="eu-central-1")
mistaken = client(host="s3.eu-central-1.amazonaws.com", region="us-east-1")

results = {
    "bad secret": result_of(client(secret="not-the-secret").list_buckets),
    "wrong region in the scope": result_of(client(region="eu-west-3").list_buckets),
    "create": create(main, "checked"),
    "own bucket again": create(main, "checked"),
    "another owner's bucket": create(other, "checked"),
    "listing another owner's bucket": result_of(lambda: other.list_objects_v2(Bucket="checked")),
    "another bucket of the other owner": create(other, "checked-other"),
    "buckets": result_of(main.list_buckets),
    "buckets of the other owner": result_of(other.list_buckets),
    "put through the proxy": result_of(
        lambda: virtual.put_object(Bucket="checked", Key="a/é &+ b", Body=b"x" * 300000)
    ),
    "keys": keys(main, "checked"),
    "keys through the proxy": keys(virtual, "checked"),
    "missing bucket": result_of(lambda: main.list_objects_v2(Bucket="checked-missing")),
    "LocationConstraint us-east-1": create(main, "checked-us", "us-east-1"),
    "LocationConstraint eu-central-1, through the proxy": create(
        outside, "checked-eu", "eu-central-1"
    ),
    "LocationConstraint of nowhere": create(main, "checked-moon", "moon-1"),
    "bucket of eu-central-1": result_of(lambda: main.list_objects_v2(Bucket="checked-eu")),
    "LocationConstraint eu-central-1, at its own host": create(
        europe, "checked-there", "eu-central-1"
    ),
    "LocationConstraint us-east-1, at the host of eu-central-1": create(
        europe, "checked-not-there", "us-east-1"
    ),
    "location at the host of eu-central-1": result_of(
        lambda: europe.get_bucket_location(Bucket="checked-there")
    ),
    "location at the host of us-east-1": result_of(
        lambda: virtual.get_bucket_location(Bucket="checked-there")
    ),
    "buckets, signed for the other region": result_of(mistaken.list_buckets),
    # boto3 retries, signing for the region in the body of an error; a HEAD response has no body.
    "head of a bucket, signed for the other region": result_of(
        lambda: mistaken.head_bucket(Bucket="checked-there")
    ),
    "bucket, signed for the other region and then again": result_of(
        lambda: mistaken.list_objects_v2(Bucket="checked-there")
    ),
}
json.dump(results, sys.stdout)

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { sandbox } from './support.mjs';

const kClient = fileURLToPath(new URL('s3-client.py', import.meta.url));

const kExpectedOfBoth = {
  'bad secret': [403, 'SignatureDoesNotMatch'],
  create: 'ok',
  "another owner's bucket": [409, 'BucketAlreadyExists'],
  "listing another owner's bucket": [403, 'AccessDenied'],
  'another bucket of the other owner': 'ok',
  buckets: ['checked'],
  'buckets of the other owner': ['checked-other'],
  'put through the proxy': 'ok',
  keys: ['a/é &+ b'],
  'keys through the proxy': ['a/é &+ b'],
  'missing bucket': [404, 'NoSuchBucket'],
  'LocationConstraint us-east-1': 'ok',
  'LocationConstraint of nowhere': [400, 'InvalidLocationConstraint'],
  'LocationConstraint eu-central-1, at its own host': 'ok',
  'bucket, signed for the other region and then again': 'ok',
};

const kExpected = {
  radosgw: {
    ...kExpectedOfBoth,
    'wrong region in the scope': [],
    'own bucket again': 'ok',
    'LocationConstraint eu-central-1, through the proxy': 'ok',
    'bucket of eu-central-1': 'ok',
    'LocationConstraint us-east-1, at the host of eu-central-1': 'ok',
    'location at the host of us-east-1': 'us-east-1',
    'location at the host of eu-central-1': 'us-east-1',
    'buckets, signed for the other region': [
      'checked',
      'checked-eu',
      'checked-not-there',
      'checked-there',
      'checked-us',
    ],
    'head of a bucket, signed for the other region': 'ok',
  },
  swift: {
    ...kExpectedOfBoth,
    'wrong region in the scope': [400, 'AuthorizationHeaderMalformed'],
    'own bucket again': [409, 'BucketAlreadyOwnedByYou'],
    'LocationConstraint eu-central-1, through the proxy': [400, 'InvalidLocationConstraint'],
    'bucket of eu-central-1': [404, 'NoSuchBucket'],
    'LocationConstraint us-east-1, at the host of eu-central-1': [400, 'InvalidLocationConstraint'],
    'location at the host of us-east-1': null, // as in the public service
    'location at the host of eu-central-1': 'eu-central-1',
    'buckets, signed for the other region': [400, 'AuthorizationHeaderMalformed'],
    'head of a bucket, signed for the other region': [400, '400'],
  },
};

// Each server runs in a sandbox without the other, so that the public host names lead to it.
for (const [server, expected] of Object.entries(kExpected)) {
  describe(server, () => {
    it('returns the expected results to boto3', async () => {
      const program = ['--', '/usr/bin/python3', kClient, server];
      const { code, stdout, stderr } = await sandbox([
        'run',
        `--${server}`,
        '--internet',
        ...program,
      ]);
      assert.equal(code, 0, stderr);
      assert.deepEqual(JSON.parse(stdout), expected);
    });

    it('serves s3cmd', async () => {
      const name = `VEMLO_SANDBOX_${server.toUpperCase()}`;
      const script = `set -e
        endpoint="\${${name}_ENDPOINT#http://}"
        s3() {
          s3cmd --config /dev/null --no-ssl --region us-east-1 \\
            --host "$endpoint" --host-bucket "$endpoint" \\
            --access_key "$${name}_ACCESS_KEY" --secret_key "$(cat "$${name}_SECRET_KEY_FILE")" "$@"
        }
        s3 mb s3://by-s3cmd
        echo content | s3 put - s3://by-s3cmd/folder/file
        s3 ls s3://by-s3cmd`;
      const { code, stdout, stderr } = await sandbox([
        'run',
        `--${server}`,
        '--',
        'sh',
        '-c',
        script,
      ]);
      assert.equal(code, 0, stderr);
      assert.match(stdout, /DIR +s3:\/\/by-s3cmd\/folder\/\n$/);
    });
  });
}

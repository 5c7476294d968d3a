import assert from 'node:assert/strict';
import { cp } from 'node:fs/promises';
import { basename, join } from 'node:path';
import { describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { command, removeFolder, sandbox, temporaryFolder } from './support.mjs';

const kClient = fileURLToPath(new URL('azure-client.mjs', import.meta.url));
const kSandboxFolder = fileURLToPath(new URL('..', import.meta.url));

const kContainers = ['checked', 'checked-outside', 'checked-third'];
const kExpected = {
  'wrong key': [403, 'AuthorizationFailure'],
  'wrong key, through the proxy': [403, 'AuthorizationFailure'],
  create: 'ok',
  'own container again': [409, 'ContainerAlreadyExists'],
  'create through the proxy': 'ok',
  'a third container': 'ok',
  containers: kContainers,
  'containers through the proxy': kContainers,
  'containers by prefix, in pages': [kContainers.slice(0, 2), kContainers.slice(2)],
  'containers at blob.core.chinacloudapi.cn': kContainers,
  'containers at blob.core.usgovcloudapi.net': kContainers,
  'containers at blob.core.cloudapi.de': kContainers,
  'containers of the other account': [],
  'the same name in the other account': 'ok',
  "another account's container, by the other key": [403, 'AuthorizationFailure'],
  'an account that does not exist': [502, ''],
  'put through the proxy': 'ok',
  blobs: ['a/é &+ b'],
  'blobs through the proxy': ['a/é &+ b'],
  folders: ['a/'],
  'missing container': [404, 'ContainerNotFound'],
  'invalid container name': [400, 'InvalidResourceName'],
};

describe('azurite', () => {
  it("returns the expected results to the vendor's client", async () => {
    // Node reads the trusted certificates only at its start.
    const script = 'NODE_EXTRA_CA_CERTS="$VEMLO_SANDBOX_CA_FILE" exec "$0" "$1"';
    const { code, stdout, stderr } = await sandbox([
      ...['run', '--azurite', '--internet', '--'],
      ...['sh', '-c', script, process.execPath, kClient],
    ]);
    assert.equal(code, 0, stderr);
    assert.deepEqual(JSON.parse(stdout), kExpected);
  });

  it('reports how to install a missing package', async () => {
    const folder = await temporaryFolder();
    try {
      const filter = (source) => basename(source) !== 'node_modules';
      await cp(kSandboxFolder, join(folder, 'sandbox'), { recursive: true, filter });
      const copy = join(folder, 'sandbox', 'cli.mjs');
      const args = [copy, 'run', '--azurite', '--', 'true'];
      const { code, stderr } = await command(process.execPath, args);
      assert.equal(code, 1);
      assert.match(stderr, /azurite is not installed; run: npm ci --ignore-scripts --prefix \S+\n/);
      assert.ok(stderr.includes(join(folder, 'sandbox')));
    } finally {
      await removeFolder(folder);
    }
  });
});

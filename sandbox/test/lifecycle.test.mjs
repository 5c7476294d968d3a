import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync } from 'node:fs';
import { readFile, stat, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { once } from 'node:events';
import { afterEach, beforeEach, describe, it } from 'node:test';
import { readState, startTimeOf } from '../state.mjs';
import {
  childrenOf,
  eventually,
  kCommandLine,
  removeFolder,
  sandbox,
  spawnSandbox,
  stillRunning,
  temporaryFolder,
} from './support.mjs';

const kServerCount = 11; // three of Ceph; memcached and five of Swift; Azurite; the drives
const kPrintVariables = ['--', process.execPath, '-e', 'console.log(JSON.stringify(process.env))'];

let folder;
let file;

beforeEach(async () => {
  folder = await temporaryFolder();
  file = join(folder, 'state.json');
});

afterEach(async () => {
  await sandbox(['stop', '--state', file]);
  await removeFolder(folder);
});

function permissions({ mode }) {
  return mode & 0o777;
}

describe('the command line', () => {
  it('has a help text', async () => {
    const { code, stdout } = await sandbox(['--help']);
    assert.equal(code, 0);
    assert.match(stdout, /usage:.*run.*--state FILE/s);
  });

  for (const args of [
    [],
    ['fly'],
    ['run'],
    ['start'],
    ['stop'],
    ['serve', '--state'],
    ['run', '--moon', '--', 'true'],
    ['serve', '--state', 'x', '--parent', 'y'],
    ['run', '--state', 'x', '--', 'true'],
    ['stop', 'now', '--state', 'x'],
    ['stop', '--state', 'x', '--internet'],
    ['consent', '--state', 'x'],
    ['consent', '--radosgw', 'https://a.example/'],
  ]) {
    it(`rejects '${args.join(' ')}'`, async () => {
      const { code, stderr } = await sandbox(args);
      assert.equal(code, 2);
      assert.match(stderr, /^sandbox: .+\n\nusage:/);
    });
  }

  it('names the Debian package of a missing server', async () => {
    const module = new URL('../processes.mjs', import.meta.url).href;
    const program = `
      import { requireCommands } from ${JSON.stringify(module)};
      requireCommands({ 'no-such-server': 'its-package', sh: 'dash' });`;
    const child = spawn(process.execPath, ['--input-type=module', '-e', program]);
    let message = '';
    child.stderr.on('data', (text) => (message += text));
    await once(child, 'close');
    assert.match(
      message,
      /Error: no-such-server not found; on Debian: apt-get install its-package\n/,
    );
  });
});

describe('run', () => {
  it('describes the sandbox to the command and leaves nothing behind', async () => {
    const { code, stdout } = await sandbox([
      'run',
      '--radosgw',
      '--azurite',
      '--drives',
      '--internet',
      ...kPrintVariables,
    ]);
    assert.equal(code, 0);
    const variables = JSON.parse(stdout);
    assert.match(variables.VEMLO_SANDBOX_RADOSGW_ENDPOINT, /^http:\/\/127\.0\.0\.1:\d+$/);
    assert.match(variables.VEMLO_SANDBOX_PROXY, /^127\.0\.0\.1:\d+$/);
    assert.match(variables.VEMLO_SANDBOX_CONTROL, /^http:\/\/127\.0\.0\.1:\d+$/);
    assert.ok(variables.VEMLO_SANDBOX_RADOSGW_ACCESS_KEY);
    assert.match(variables.VEMLO_SANDBOX_AZURE_ACCOUNT, /^[a-z0-9]{3,24}$/);
    assert.match(variables.VEMLO_SANDBOX_REDIRECT_URI, /^https:\/\/.+\/redirect\.php$/);
    assert.match(variables.VEMLO_SANDBOX_DRIVES_CONTROL, /^http:\/\/127\.0\.0\.1:\d+$/);
    assert.equal(variables.VEMLO_SANDBOX_SWIFT_ENDPOINT, undefined);
    for (const name of ['STATE', 'CA_FILE', 'RADOSGW_SECRET_KEY_FILE', 'AZURE_KEY_FILE']) {
      assert.equal(existsSync(variables[`VEMLO_SANDBOX_${name}`]), false);
    }
  });

  it('writes secrets to files that other users cannot read', async () => {
    const look = `cd "$(dirname "$VEMLO_SANDBOX_STATE")" &&
      stat -c %a . state.json radosgw-secret azure-secret`;
    const { stdout } = await sandbox(['run', '--radosgw', '--azurite', '--', 'sh', '-c', look]);
    assert.equal(stdout, '700\n600\n600\n600\n');
  });

  it('exits as the command did', async () => {
    const run = (script) => sandbox(['run', '--internet', '--', 'sh', '-c', script]);
    assert.equal((await run('exit 7')).code, 7);
    assert.equal((await run('kill -KILL $$')).code, 137);
    assert.equal((await sandbox(['run', '--internet', '--', './no-such-command'])).code, 127);
  });

  for (const [signal, code] of [
    ['SIGINT', 130],
    ['SIGTERM', 143],
    ['SIGHUP', 129],
  ]) {
    it(`ends the command and everything else on ${signal}`, async () => {
      const note = join(folder, 'note');
      const script = `cd ${folder}; echo "$VEMLO_SANDBOX_STATE" > new; mv new note; exec sleep 100`;
      const child = spawnSandbox(['run', '--internet', '--', 'sh', '-c', script]);
      await eventually(() => existsSync(note), 'the command runs');
      const children = await childrenOf(child.pid);
      assert.equal(children.length, 1);
      child.kill(signal);
      assert.deepEqual(await once(child, 'close'), [code, null]);
      assert.deepEqual(stillRunning(children), []);
      assert.equal(existsSync((await readFile(note, 'utf8')).trim()), false);
    });
  }

  it('stops while it is still starting', async () => {
    const child = spawnSandbox(['run', '--', 'false']);
    let children = [];
    await eventually(
      async () => (children = await childrenOf(child.pid)).length > 0,
      'a server starts',
    );
    child.kill('SIGTERM');
    assert.deepEqual(await once(child, 'close'), [143, null]);
    assert.deepEqual(stillRunning(children), []);
  });
});

describe('start and stop', () => {
  it('write a private state file, and leave no process and no folder', async () => {
    const started = await sandbox(['start', '--state', file]);
    assert.equal(started.code, 0, started.stdout);
    assert.match(started.stdout, /radosgw is ready after [\d.]+ s/);
    assert.equal(permissions(await stat(file)), 0o600);
    const state = await readState(file);
    assert.equal(permissions(await stat(state.folder)), 0o700);
    for (const name of ['radosgw', 'swift']) {
      const { secretKey, otherSecretKey, regions, region } = state[name];
      assert.ok(
        secretKey.length >= 20 && otherSecretKey.length >= 20 && secretKey !== otherSecretKey,
      );
      assert.equal(regions[0], region);
    }
    const servers = await childrenOf(state.pid);
    assert.equal(servers.length, kServerCount);

    const again = await sandbox(['start', '--state', file]);
    assert.equal(again.code, 1);
    assert.match(again.stderr, /belongs to a running sandbox/);

    assert.equal((await sandbox(['stop', '--state', file])).code, 0);
    assert.deepEqual(stillRunning([...servers, state]), []);
    assert.deepEqual(
      [existsSync(state.folder), existsSync(file), existsSync(`${file}.log`)],
      [false, false, false],
    );
  });

  it('leave no server after a killed supervisor, and remove its files', async () => {
    const started = await sandbox(['start', '--state', file]);
    assert.equal(started.code, 0, started.stdout);
    const state = await readState(file);
    const servers = await childrenOf(state.pid);
    assert.equal(servers.length, kServerCount);
    process.kill(state.pid, 'SIGKILL');
    await eventually(() => stillRunning(servers).length === 0, 'the servers are gone');
    assert.equal((await sandbox(['stop', '--state', file])).code, 0);
    assert.deepEqual([existsSync(state.folder), existsSync(file)], [false, false]);
  });

  it('end the sandbox with its parent', async () => {
    const parent = spawn('sleep', ['100']);
    const started = await sandbox([
      'start',
      '--state',
      file,
      '--internet',
      '--parent',
      `${parent.pid}`,
    ]);
    assert.equal(started.code, 0);
    const state = await readState(file);
    assert.deepEqual(stillRunning([state]), [state]);
    parent.kill('SIGKILL');
    await eventually(() => stillRunning([state]).length === 0, 'the sandbox is gone');
    assert.deepEqual([existsSync(state.folder), existsSync(file)], [false, false]);
  });

  it('use the caller as the parent by default', async () => {
    const script = '"$0" "$1" start --state "$2" --internet --parent; exit $?';
    const caller = spawn('sh', ['-c', script, process.execPath, kCommandLine, file], {
      stdio: 'ignore',
    });
    const ended = once(caller, 'close');
    await eventually(() => existsSync(file), 'the sandbox is ready');
    const state = await readState(file).catch(() => undefined);
    assert.deepEqual(await ended, [0, null]);
    await eventually(() => stillRunning([state]).length === 0, 'the sandbox follows its caller');
    assert.equal(existsSync(file), false);
  });

  it('report that there is nothing to stop', async () => {
    const { code, stdout } = await sandbox(['stop', '--state', file]);
    assert.deepEqual([code, stdout], [0, 'sandbox: nothing to stop\n']);
  });

  it('change nothing for a file that is not a state file', async () => {
    await writeFile(
      file,
      JSON.stringify({ pid: process.pid, startTime: startTimeOf(process.pid), folder }),
    );
    const { code, stderr } = await sandbox(['stop', '--state', file]);
    assert.equal(code, 1);
    assert.match(stderr, /is not the state of a sandbox/);
    assert.ok(existsSync(folder));
  });

  it('report a start that fails', async () => {
    const env = { ...process.env, TMPDIR: join(folder, 'missing') };
    const { code, stdout } = await sandbox(['start', '--state', file, '--internet'], { env });
    assert.equal(code, 1);
    assert.match(stdout, /sandbox: failed: .*missing/);
    assert.deepEqual([existsSync(file), existsSync(`${file}.log`)], [false, false]);
  });
});

// Helpers for the tests: an independent HTTP client and the sandbox's command line.

import { execFile, spawn } from 'node:child_process';
import http from 'node:http';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { startTimeOf } from '../state.mjs';
import { readText } from '../streams.mjs';

export const kCommandLine = fileURLToPath(new URL('../cli.mjs', import.meta.url));

/** Runs a command and returns { code, stdout, stderr }; never rejects. */
export function command(file, args, options = {}) {
  return new Promise((resolve) => {
    execFile(file, args, options, (error, stdout, stderr) => {
      resolve({ code: error ? error.code : 0, stdout, stderr });
    });
  });
}

export function sandbox(args, options) {
  return command(process.execPath, [kCommandLine, ...args], options);
}

export function spawnSandbox(args, options) {
  return spawn(process.execPath, [kCommandLine, ...args], { stdio: 'ignore', ...options });
}

const kCurlReport = '\n%{http_code} %{http_connect} %{size_download} %{time_total}';

/** One request by curl; `code` is its exit code, `connect` the proxy's status for CONNECT. */
export async function curl(proxy, url, more = []) {
  const args = [
    '--silent',
    '--include',
    '--suppress-connect-headers',
    '--max-time',
    '20',
    '--noproxy',
    '',
  ];
  const { code, stdout } = await command('curl', [
    ...args,
    '--proxy',
    proxy,
    '--write-out',
    kCurlReport,
    ...more,
    url,
  ]);
  const end = stdout.lastIndexOf('\n');
  const [status, connect, size, seconds] = stdout
    .slice(end + 1)
    .split(' ')
    .map(Number);
  return { code, status, connect, size, seconds, text: stdout.slice(0, end) };
}

/** Starts a loopback server that responds to every request with `body`; { target, seen, close }. */
export async function startOrigin(body) {
  const seen = [];
  const server = http.createServer(async (request, response) => {
    seen.push({
      method: request.method,
      url: request.url,
      headers: request.rawHeaders,
      body: await readText(request),
    });
    response.end(body);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {
    target: `http://127.0.0.1:${server.address().port}`,
    seen,
    close: () => {
      server.closeAllConnections();
      server.close();
    },
  };
}

export function temporaryFolder() {
  return mkdtemp(join(tmpdir(), 'sandbox-test-'));
}

export function removeFolder(folder) {
  return rm(folder, { recursive: true, force: true });
}

/** The direct children of a process, as { pid, startTime }. */
export async function childrenOf(parent) {
  const { stdout } = await command('ps', ['-o', 'pid=', '--ppid', `${parent}`]);
  const pids = stdout.split('\n').filter(Boolean).map(Number);
  return pids.map((pid) => ({ pid, startTime: startTimeOf(pid) }));
}

export function stillRunning(processes) {
  return processes.filter(
    ({ pid, startTime }) => startTime !== undefined && startTimeOf(pid) === startTime,
  );
}

/** Waits until `condition` is true; throws if it does not become true in time. */
export async function eventually(condition, what, seconds = 30) {
  const deadline = Date.now() + seconds * 1000;
  while (!(await condition())) {
    if (Date.now() > deadline) throw new Error(`never happened: ${what}`);
    await sleep(50);
  }
}

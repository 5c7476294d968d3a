// `start`: runs `serve` in the background and returns once it is ready.

import { spawn } from 'node:child_process';
import { closeSync, openSync, readFileSync } from 'node:fs';
import { rm } from 'node:fs/promises';
import { resolve } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { endChild, endOf } from '../processes.mjs';
import { readState } from '../state.mjs';
import { refuseIfRunning } from './stop.mjs';
import { exitCodeOf, stopSignal } from './signals.mjs';

const kCommandLine = fileURLToPath(new URL('../cli.mjs', import.meta.url));
const kSecondsToStart = 180;

export async function start({ parts, recording, file, parent }) {
  await refuseIfRunning(file);
  const logFile = `${resolve(file)}.log`;
  const child = spawnServe({ parts, recording, file, parent, logFile });
  const stopped = stopSignal();
  const printNewOutput = follow(logFile);

  const outcome = await Promise.race([
    ready(file, child, printNewOutput),
    child.ended.then(() => 'failed'),
    stopped,
    sleep(kSecondsToStart * 1000, 'late', { ref: false }),
  ]);
  if (outcome !== 'ready') await endChild(child);
  printNewOutput();
  await rm(logFile, { force: true }); // `serve` keeps the open file and does not need its name
  switch (outcome) {
    case 'ready':
      child.unref();
      return 0;
    case 'failed':
      return 1;
    case 'late':
      process.stdout.write(`sandbox: not ready after ${kSecondsToStart} s\n`);
      return 1;
    default:
      return exitCodeOf(outcome);
  }
}

// The output goes to a file: an inherited pipe would stay open and block the reader of `start`'s
// own output.
function spawnServe({ parts, recording, file, parent, logFile }) {
  const what = recording ? ['--play', recording] : parts.map((part) => `--${part}`);
  const options = ['--state', file, ...what];
  if (parent) options.push('--parent', `${parent}`);
  const log = openSync(logFile, 'w', 0o600);
  const child = spawn(process.execPath, [kCommandLine, 'serve', ...options], {
    detached: true,
    stdio: ['ignore', log, log],
  });
  closeSync(log);
  child.ended = endOf(child);
  return child;
}

async function ready(file, child, printNewOutput) {
  while ((await readState(file))?.pid !== child.pid) {
    printNewOutput();
    await sleep(50);
  }
  return 'ready';
}

/** Returns a function that prints what was appended to the file since its last call. */
function follow(file) {
  let shown = 0;
  return () => {
    const text = readFileSync(file);
    process.stdout.write(text.subarray(shown));
    shown = text.length;
  };
}

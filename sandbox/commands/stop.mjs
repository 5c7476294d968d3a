// `stop`: ends a running sandbox, and cleans up after one that was killed.

import { setTimeout as sleep } from 'node:timers/promises';
import { isRunning, readState, removeLeftovers } from '../state.mjs';

const kSecondsBeforeKill = 20;

export async function stop(file) {
  const state = await readState(file);
  if (!state) {
    process.stdout.write('sandbox: nothing to stop\n');
    return 0;
  }
  signal(state, 'SIGTERM');
  const deadline = Date.now() + kSecondsBeforeKill * 1000;
  while (isRunning(state)) {
    if (Date.now() > deadline) signal(state, 'SIGKILL');
    await sleep(50);
  }
  await removeLeftovers(file, state);
  process.stdout.write('sandbox: stopped\n');
  return 0;
}

/** Throws if the sandbox of this state file is running; cleans up after one that is not. */
export async function refuseIfRunning(file) {
  const state = await readState(file);
  if (!state) return;
  if (isRunning(state))
    throw new Error(`${file} belongs to a running sandbox (process ${state.pid})`);
  await removeLeftovers(file, state);
}

function signal(state, name) {
  if (!isRunning(state)) return;
  try {
    process.kill(state.pid, name);
  } catch (error) {
    if (error.code !== 'ESRCH') throw error; // it has ended in the meantime
  }
}

// The state file, from which other programs learn about a running sandbox.

import { readFileSync } from 'node:fs';
import { readFile, rename, rm, writeFile } from 'node:fs/promises';
import { basename, isAbsolute } from 'node:path';
import { kFolderPrefix } from './sandbox.mjs';

/** Writes the state atomically; the file contains secrets, hence the mode 0600. */
export async function writeState(file, state) {
  const draft = `${file}.${process.pid}.new`;
  await writeFile(draft, `${JSON.stringify(state, null, 2)}\n`, { mode: 0o600, flag: 'wx' });
  await rename(draft, file);
}

/** The state in `file`; undefined if the file does not exist. */
export async function readState(file) {
  let text;
  try {
    text = await readFile(file, 'utf8');
  } catch (error) {
    if (error.code === 'ENOENT') return undefined;
    throw error;
  }
  const state = JSON.parse(text);
  if (
    !Number.isInteger(state.pid) ||
    !Number.isInteger(state.startTime) ||
    !isSandboxFolder(state.folder)
  ) {
    throw new Error(`${file} is not the state of a sandbox`);
  }
  return state;
}

/**
 * When the process was started, in clock ticks since boot. As pids are reused, only pid and start
 * time together identify a process. Undefined for a process that has ended, zombies included.
 */
export function startTimeOf(pid) {
  let stat;
  try {
    stat = readFileSync(`/proc/${pid}/stat`, 'utf8');
  } catch {
    return undefined;
  }
  const fields = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
  return 'ZX'.includes(fields[0]) ? undefined : Number(fields[19]);
}

export function isRunning(state) {
  return startTimeOf(state.pid) === state.startTime;
}

/** Removes the files that a killed supervisor left behind. */
export async function removeLeftovers(file, state) {
  await rm(state.folder, { recursive: true, force: true, maxRetries: 5, retryDelay: 200 });
  await rm(file, { force: true });
}

// Strict, because the folder named in a state file is removed.
function isSandboxFolder(folder) {
  return (
    typeof folder === 'string' && isAbsolute(folder) && basename(folder).startsWith(kFolderPrefix)
  );
}

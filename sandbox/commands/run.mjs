// `run`: a sandbox that exists while one command runs.

import { spawn } from 'node:child_process';
import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { endChild, endOf } from '../processes.mjs';
import { Sandbox } from '../sandbox.mjs';
import { writeState, startTimeOf } from '../state.mjs';
import { exitCodeOf, stopSignal } from './signals.mjs';

export async function run({ parts, recording, command }) {
  const sandbox = new Sandbox({ parts, recording }, (line) => process.stderr.write(`sandbox: ${line}\n`));
  const stopped = stopSignal();
  try {
    const ready = await Promise.race([sandbox.start().then(() => true), stopped.then(() => false)]);
    if (!ready) return exitCodeOf(await stopped);
    return await runCommand(command, await describe(sandbox), stopped);
  } catch (error) {
    process.stderr.write(await sandbox.logTails());
    throw error;
  } finally {
    await sandbox.stop();
  }
}

async function runCommand(command, variables, stopped) {
  const child = spawn('setpriv', ['--pdeathsig', 'TERM', ...command], {
    stdio: 'inherit',
    env: { ...process.env, ...variables },
  });
  child.ended = endOf(child);
  stopped.then((signal) => endChild(child, signal));
  const { code, signal } = await child.ended;
  return signal ? exitCodeOf(signal) : code;
}

/** Writes the state file and the secret files; returns the command's environment variables. */
async function describe({ folder, state }) {
  const file = join(folder, 'state.json');
  await writeState(file, { ...state, startTime: startTimeOf(process.pid) });
  const variables = { VEMLO_SANDBOX_STATE: file };
  for (const name of ['radosgw', 'swift']) {
    if (!state[name]) continue;
    const secretFile = await writeSecret(folder, name, state[name].secretKey);
    const prefix = `VEMLO_SANDBOX_${name.toUpperCase()}`;
    variables[`${prefix}_ENDPOINT`] = state[name].endpoint;
    variables[`${prefix}_ACCESS_KEY`] = state[name].accessKey;
    variables[`${prefix}_SECRET_KEY_FILE`] = secretFile;
  }
  if (state.azure) {
    variables.VEMLO_SANDBOX_AZURE_ACCOUNT = state.azure.accountName;
    variables.VEMLO_SANDBOX_AZURE_KEY_FILE = await writeSecret(
      folder,
      'azure',
      state.azure.accessKey,
    );
  }
  if (state.drives) {
    variables.VEMLO_SANDBOX_REDIRECT_URI = state.drives.redirectUri;
    variables.VEMLO_SANDBOX_DRIVES_CONTROL = state.drives.control;
  }
  if (state.internet) {
    variables.VEMLO_SANDBOX_PROXY = `${state.internet.proxyHost}:${state.internet.proxyPort}`;
    variables.VEMLO_SANDBOX_CA_FILE = state.internet.caFile;
    variables.VEMLO_SANDBOX_CONTROL = state.internet.control;
  }
  return variables;
}

async function writeSecret(folder, name, secret) {
  const file = join(folder, `${name}-secret`);
  await writeFile(file, secret, { mode: 0o600 });
  return file;
}

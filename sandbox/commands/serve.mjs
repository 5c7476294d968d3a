// `serve`: a sandbox in the foreground, described by a state file.

import { rm } from 'node:fs/promises';
import { setTimeout as sleep } from 'node:timers/promises';
import { Sandbox } from '../sandbox.mjs';
import { startTimeOf, writeState } from '../state.mjs';
import { refuseIfRunning } from './stop.mjs';
import { stopSignal } from './signals.mjs';

const kMillisecondsBetweenChecks = 500;

export async function serve({ parts, recording, file, parent }) {
  await refuseIfRunning(file);
  const report = (line) => process.stdout.write(`sandbox: ${line}\n`);
  const sandbox = new Sandbox({ parts, recording }, report);
  const stopReason = Promise.race([
    stopSignal().then((signal) => `got ${signal}`),
    ...(parent ? [endOfProcess(parent).then(() => `process ${parent} is gone`)] : []),
  ]);
  const started = sandbox.start().then(async () => {
    await writeState(file, { ...sandbox.state, startTime: startTimeOf(process.pid) });
    report('ready');
    return true;
  });
  try {
    await Promise.race([started, stopReason]);
    report(`${await stopReason}, stopping`);
    return 0;
  } catch (error) {
    report(`failed: ${error.message}\n${await sandbox.logTails()}`);
    return 1;
  } finally {
    await sandbox.stop();
    const written = await started.catch(() => false);
    if (written) await rm(file, { force: true });
  }
}

async function endOfProcess(pid) {
  const startTime = startTimeOf(pid);
  while (startTime !== undefined && startTimeOf(pid) === startTime) {
    await sleep(kMillisecondsBetweenChecks, undefined, { ref: false });
  }
}

// Signals that request a stop.

import { constants } from 'node:os';

/** Resolves with the name of the first such signal. Further ones are ignored. */
export function stopSignal() {
  return new Promise((resolve) => {
    for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
      process.on(signal, () => resolve(signal));
    }
  });
}

/** The exit code with which a shell reports a process that was ended by a signal. */
export function exitCodeOf(signal) {
  return 128 + constants.signals[signal];
}

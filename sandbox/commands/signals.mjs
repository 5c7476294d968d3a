// Signals that ask to stop.

import { constants } from 'node:os';

/** Resolves with the name of the first such signal; `heard` is called for every one. */
export function stopSignal(heard = () => {}) {
  return new Promise((resolve) => {
    for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
      process.on(signal, () => {
        heard(signal);
        resolve(signal);
      });
    }
  });
}

/** How a shell reports a process that a signal ended. */
export function exitCodeOf(signal) {
  return 128 + constants.signals[signal];
}

// Free ports on the loopback interface, and waiting until a server listens on one.

import net from 'node:net';
import { setTimeout as sleep } from 'node:timers/promises';

const kHost = '127.0.0.1';

// A free port that is only opened and closed again could be assigned to another process before the
// server binds it. If the listening side closes an accepted connection first, the port stays in
// TIME_WAIT for a minute: the kernel then does not assign it to a process that requests any free
// port, while a server that names it (with SO_REUSEADDR, as all of the sandbox's do) can bind it.
function reservePort() {
  return new Promise((resolve, reject) => {
    const listener = net.createServer((accepted) => {
      accepted.on('error', reject);
      accepted.end();
      listener.close();
    });
    listener.on('error', reject);
    listener.listen(0, kHost, () => {
      const { port } = listener.address();
      const client = net.connect(port, kHost);
      client.on('error', reject);
      client.on('close', () => resolve(port));
      client.resume();
    });
  });
}

/** Reserves a free port for each name; returns name -> port. */
export async function reservePorts(...names) {
  const entries = await Promise.all(names.map(async (name) => [name, await reservePort()]));
  return Object.fromEntries(entries);
}

function listens(port) {
  return new Promise((resolve) => {
    const probe = net.connect(port, kHost);
    probe.on('error', () => resolve(false));
    probe.on('connect', () => {
      probe.destroy();
      resolve(true);
    });
  });
}

/** Resolves once something listens on every one of `ports`. */
export async function waitForPorts(ports, { seconds = 60, signal } = {}) {
  const deadline = Date.now() + seconds * 1000;
  for (const port of ports) {
    while (!(await listens(port))) {
      signal?.throwIfAborted();
      if (Date.now() > deadline) {
        throw new Error(`nothing listens on 127.0.0.1:${port} after ${seconds} s`);
      }
      await sleep(25);
    }
  }
}

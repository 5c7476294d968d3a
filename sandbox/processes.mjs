// The processes of one server: started as direct children, ended by their pids.

import { spawn } from 'node:child_process';
import { accessSync, constants, openSync, closeSync } from 'node:fs';
import { delimiter, join, resolve } from 'node:path';

const kSecondsBeforeKill = 4;
const kSecondsPerTool = 60;
const kPath = [
  ...(process.env.PATH ?? '').split(delimiter).filter(Boolean),
  ...['/usr/sbin', '/usr/bin', '/sbin', '/bin'],
];

/** Throws unless every command of `packages` (command -> Debian package) is installed. */
export function requireCommands(packages) {
  const missing = Object.keys(packages).filter((command) => !isInstalled(command));
  if (missing.length === 0) return;
  const names = [...new Set(missing.map((command) => packages[command]))].join(' ');
  throw new Error(`${missing.join(', ')} not found; on Debian: apt-get install ${names}`);
}

function isInstalled(command) {
  return kPath.some((folder) => {
    try {
      accessSync(resolve(folder, command), constants.X_OK);
      return true;
    } catch {
      return false;
    }
  });
}

export class Processes {
  #logFolder;
  #running = new Set();
  #stopping = new AbortController();
  #reportDeath;

  /** Rejects when a server ends although it was not stopped. */
  died = new Promise((_, reject) => {
    this.#reportDeath = reject;
  });

  constructor(logFolder) {
    this.#logFolder = logFolder;
    this.died.catch(() => {}); // without a handler a rejection would end this process
  }

  /** An AbortSignal, aborted once stop() is called. */
  get stopping() {
    return this.#stopping.signal;
  }

  /** Starts a server that stays in the foreground; its output is written to `name`.log. */
  server(name, command, args, variables) {
    const log = openSync(join(this.#logFolder, `${name}.log`), 'a', 0o600);
    const child = this.#spawn(command, args, ['ignore', log, log], variables);
    closeSync(log);
    child.ended.then(({ code, signal, error }) => {
      if (this.stopping.aborted) return;
      this.#reportDeath(
        new Error(
          `${name} ended unexpectedly (${error?.message ?? signal ?? `exit code ${code}`})`,
        ),
      );
    });
  }

  /** Runs a command and returns its standard output; throws unless it succeeds. */
  async tool(command, args, { input = '' } = {}) {
    const child = this.#spawn(command, args, ['pipe', 'pipe', 'pipe']);
    const timer = setTimeout(() => child.kill('SIGKILL'), kSecondsPerTool * 1000);
    const output = { stdout: '', stderr: '' };
    for (const stream of Object.keys(output)) {
      child[stream].setEncoding('utf8').on('data', (text) => (output[stream] += text));
    }
    child.stdin.on('error', () => {}); // a command may ignore its input; its exit code decides
    child.stdin.end(input);

    const { code, signal, error } = await child.ended;
    clearTimeout(timer);
    this.stopping.throwIfAborted();
    if (code === 0) return output.stdout;
    const reason = error?.message ?? signal ?? `exit code ${code}`;
    throw new Error(`${command} failed (${reason}): ${output.stderr.slice(-2000).trim()}`);
  }

  async stop() {
    this.#stopping.abort(new Error('the sandbox is being stopped'));
    // In reverse order: at its end, a server waits for the ones it depends on if they are gone.
    for (const child of [...this.#running].reverse()) await endChild(child);
  }

  #spawn(command, args, stdio, variables = {}) {
    this.stopping.throwIfAborted();
    // The kernel kills the child when this process ends in any way; SIGKILL, because nothing is
    // left then that could wait for a server to end. A session of its own shields the child from
    // the terminal's Ctrl-C, so that servers outlive the command that uses them.
    const child = spawn('setpriv', ['--pdeathsig', 'KILL', command, ...args], {
      stdio,
      detached: true,
      env: { PATH: kPath.join(delimiter), HOME: this.#logFolder, LANG: 'C.UTF-8', ...variables },
    });
    child.ended = endOf(child);
    this.#running.add(child);
    child.ended.then(() => this.#running.delete(child));
    return child;
  }
}

/** Resolves with { code, signal }, and { error } where it did not start; never rejects. */
export function endOf(child) {
  return new Promise((resolve) => {
    child.on('error', (error) => resolve({ code: 127, signal: null, error }));
    child.on('close', (code, signal) => resolve({ code, signal }));
  });
}

/** Sends a child `signal`, and SIGKILL if it does not end in time; resolves once it has ended. */
export async function endChild(child, signal = 'SIGTERM') {
  child.kill(signal);
  const timer = setTimeout(() => child.kill('SIGKILL'), kSecondsBeforeKill * 1000);
  await child.ended;
  clearTimeout(timer);
}

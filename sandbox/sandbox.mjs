// One sandbox: a private folder, the servers asked for, and the state that describes them.

import { mkdir, mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Processes } from './processes.mjs';
import { startInternet } from './internet/internet.mjs';
import { startAzurite } from './servers/azurite.mjs';
import { startDrives } from './servers/drives.mjs';
import { publicRoutes } from './servers/public-hosts.mjs';
import { startRadosgw } from './servers/radosgw.mjs';
import { startSwift } from './servers/swift.mjs';

export const kFolderPrefix = 'vemlo-sandbox-';
// The part, and the member of the state that describes it.
const kServers = {
  radosgw: { start: startRadosgw, member: 'radosgw' },
  swift: { start: startSwift, member: 'swift' },
  azurite: { start: startAzurite, member: 'azure' },
  drives: { start: startDrives, member: 'drives' },
};
export const kParts = [...Object.keys(kServers), 'internet'];

export class Sandbox {
  #parts;
  #say;
  #processes = [];
  #internet;
  #failedLogs;
  #stopping = false;
  #starting = Promise.resolve();

  /** `parts` are names out of kParts; `say` takes one line of progress. */
  constructor(parts, say) {
    this.#parts = parts;
    this.#say = say;
  }

  /** Starts everything; on failure the caller still has to stop(). */
  start() {
    this.#starting = this.#startParts();
    return this.#starting;
  }

  async stop() {
    this.#stopping = true;
    await Promise.all(this.#processes.map((processes) => processes.stop()));
    await this.#starting.catch(() => {}); // whoever called start() hears of its failure
    await this.#internet?.stop();
    if (this.folder) await rm(this.folder, { recursive: true, force: true, maxRetries: 3 });
  }

  /** The last lines of the logs of the server that did not start. */
  async logTails(lineCount = 20) {
    if (!this.#failedLogs) return '';
    const tails = [];
    for (const name of (await readdir(this.#failedLogs)).sort()) {
      const lines = (await readFile(join(this.#failedLogs, name), 'utf8')).trimEnd().split('\n');
      tails.push(`--- ${name}`, ...lines.slice(-lineCount));
    }
    return `${tails.join('\n')}\n`;
  }

  async #startParts() {
    this.folder = await mkdtemp(join(tmpdir(), kFolderPrefix));
    this.state = { pid: process.pid, folder: this.folder };

    const servers = this.#parts.filter((name) => name in kServers);
    const started = servers.map((name) => this.#timed(name, () => this.#startServer(name)));
    // Wait for all of them even when one fails, so that nothing is still starting after a stop.
    const outcomes = await Promise.allSettled(started);
    const failure = outcomes.find(({ status }) => status === 'rejected');
    if (failure) throw failure.reason;
    if (this.#parts.includes('internet'))
      await this.#timed('internet', () => this.#startInternet());
  }

  async #startServer(name) {
    const folder = join(this.folder, name);
    const logFolder = join(this.folder, 'logs', name);
    await Promise.all([mkdir(folder), mkdir(logFolder, { recursive: true })]);
    this.#goOnUnlessStopping();
    const processes = new Processes(logFolder);
    this.#processes.push(processes);
    const { start, member } = kServers[name];
    const starting = start({ folder, logFolder, processes });
    try {
      this.state[member] = await Promise.race([starting, processes.died]);
    } catch (error) {
      this.#failedLogs ??= logFolder;
      await processes.stop();
      await starting.catch(() => {}); // it fails at its next step, for the same reason
      throw error;
    }
    processes.died.catch((error) => this.#say(`warning: ${error.message}`));
  }

  async #startInternet() {
    const folder = join(this.folder, 'internet');
    await mkdir(folder);
    this.#internet = await startInternet({ folder, routes: publicRoutes(this.state) });
    this.state.internet = this.#internet.state;
    this.#goOnUnlessStopping();
  }

  #goOnUnlessStopping() {
    if (this.#stopping) throw new Error('stopped while starting');
  }

  async #timed(name, start) {
    const from = Date.now();
    this.#say(`starting ${name}`);
    await start();
    this.#say(`${name} is ready after ${((Date.now() - from) / 1000).toFixed(1)} s`);
  }
}

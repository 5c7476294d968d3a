// One sandbox: a private folder, the requested servers, and the state that describes them.

import { mkdir, mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Processes } from './processes.mjs';
import { startInternet } from './internet/internet.mjs';
import { startPlayer } from './player/player.mjs';
import { startAzurite } from './servers/azurite.mjs';
import { startDrives } from './servers/drives.mjs';
import { publicRoutes } from './servers/public-hosts.mjs';
import { startRadosgw } from './servers/radosgw.mjs';
import { startSwift } from './servers/swift.mjs';

export const kFolderPrefix = 'vemlo-sandbox-';
// By part: the function that starts it, and the member of the state that describes it.
const kServers = {
  radosgw: { start: startRadosgw, member: 'radosgw' },
  swift: { start: startSwift, member: 'swift' },
  azurite: { start: startAzurite, member: 'azure' },
  drives: { start: startDrives, member: 'drives' },
};
export const kParts = [...Object.keys(kServers), 'internet'];

export class Sandbox {
  #parts;
  #recording;
  #report;
  #processes = [];
  #internet;
  #player;
  #failedLogs;
  #stopping = false;
  #starting = Promise.resolve();

  /**
   * `parts` are names from kParts. With `recording`, a file, its services are served from it.
   * `report` receives one line of progress at a time.
   */
  constructor({ parts, recording }, report) {
    this.#parts = parts;
    this.#recording = recording;
    this.#report = report;
  }

  /** Starts the parts; the caller has to call stop() even if this fails. */
  start() {
    this.#starting = this.#startParts();
    return this.#starting;
  }

  async stop() {
    this.#stopping = true;
    await Promise.all(this.#processes.map((processes) => processes.stop()));
    await this.#starting.catch(() => {}); // start() itself has reported the failure
    await this.#internet?.stop();
    await this.#player?.stop();
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
    // All of them, even if one fails, so that no server is still starting after stop().
    const outcomes = await Promise.allSettled(started);
    const failure = outcomes.find(({ status }) => status === 'rejected');
    if (failure) throw failure.reason;
    if (this.#recording) await this.#startPlayer();
    if (this.#parts.includes('internet'))
      await this.#timed('internet', () => this.#startInternet());
  }

  async #startServer(name) {
    const folder = join(this.folder, name);
    const logFolder = join(this.folder, 'logs', name);
    await Promise.all([mkdir(folder), mkdir(logFolder, { recursive: true })]);
    this.#throwIfStopping();
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
    processes.died.catch((error) => this.#report(`warning: ${error.message}`));
  }

  async #startPlayer() {
    const { stop, ...state } = await startPlayer(this.#recording);
    this.#player = { stop };
    this.state.player = state;
  }

  async #startInternet() {
    const folder = join(this.folder, 'internet');
    await mkdir(folder);
    this.#internet = await startInternet({ folder, routes: publicRoutes(this.state) });
    this.state.internet = this.#internet.state;
    this.#throwIfStopping();
  }

  #throwIfStopping() {
    if (this.#stopping) throw new Error('stopped while starting');
  }

  async #timed(name, start) {
    const startedAt = Date.now();
    this.#report(`starting ${name}`);
    await start();
    this.#report(`${name} is ready after ${((Date.now() - startedAt) / 1000).toFixed(1)} s`);
  }
}

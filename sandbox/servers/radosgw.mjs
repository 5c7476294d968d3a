// Ceph's S3 gateway: one monitor, one object store daemon in memory, one radosgw.

import { randomUUID } from 'node:crypto';
import { mkdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { requireCommands } from '../processes.mjs';
import { reservePorts, waitForPorts } from '../ports.mjs';
import { kS3Hosts, kS3Regions } from './public-hosts.mjs';

const kPackages = {
  'ceph-mon': 'ceph-mon',
  monmaptool: 'ceph-common',
  ceph: 'ceph-common',
  'ceph-osd': 'ceph-osd',
  radosgw: 'radosgw',
  'radosgw-admin': 'radosgw',
  setpriv: 'util-linux',
};

const kRegisterAttempts = 10;

/** Starts radosgw below `folder` and returns its endpoint and the keys of its two users. */
export async function startRadosgw({ folder, logFolder, processes }) {
  requireCommands(kPackages);
  const ports = await reservePorts('monitor', 'gateway');
  const endpoint = `http://127.0.0.1:${ports.gateway}`;
  const configuration = join(folder, 'ceph.conf');
  const clusterId = randomUUID();
  await mkdir(join(folder, 'mon'), { recursive: true });
  await mkdir(join(folder, 'osd'));
  await writeFile(join(folder, 'keyring'), '');
  await writeFile(configuration, cephConf({ folder, logFolder, clusterId, ports }));
  // A daemon that fetches its configuration from the monitor is without the cluster's id for a
  // moment; sometimes it sends its first command without the id, which is refused.
  const cluster = ['-c', configuration, '--no-mon-config'];
  const admin = (args, options) =>
    processes.tool('radosgw-admin', [...cluster, '-n', 'client.rgw', ...args], options);

  await startMonitor({ folder, cluster, clusterId, port: ports.monitor, processes });
  await startObjectStore({ cluster, processes });
  await defineRegions(admin, endpoint);
  processes.server('radosgw', 'radosgw', [...cluster, '-f', '-n', 'client.rgw']);
  await waitForPorts([ports.gateway], { signal: processes.stopping });
  const main = await createUser(admin, 'main');
  const other = await createUser(admin, 'other');

  return {
    endpoint,
    region: kS3Regions[0],
    regions: kS3Regions,
    endpoints: Object.fromEntries(kS3Regions.map((region) => [region, endpoint])),
    accessKey: main.access_key,
    secretKey: main.secret_key,
    otherAccessKey: other.access_key,
    otherSecretKey: other.secret_key,
  };
}

async function startMonitor({ folder, cluster, clusterId, port, processes }) {
  const map = join(folder, 'monmap');
  const address = `v1:127.0.0.1:${port}`;
  await processes.tool('monmaptool', [
    '--create',
    '--fsid',
    clusterId,
    '--addv',
    'a',
    address,
    map,
  ]);
  await processes.tool('ceph-mon', [...cluster, '--mkfs', '-i', 'a', '--monmap', map]);
  processes.server('ceph-mon', 'ceph-mon', [...cluster, '-f', '-i', 'a']);
  await waitForPorts([port], { signal: processes.stopping });
}

async function startObjectStore({ cluster, processes }) {
  const id = randomUUID();
  await registerObjectStore({ cluster, processes, id });
  await processes.tool('ceph-osd', [...cluster, '-i', '0', '--mkfs', '--osd-uuid', id]);
  processes.server('ceph-osd', 'ceph-osd', [...cluster, '-f', '-i', '0']);
}

// The client may send its command before it has received the cluster's id from the monitor; the
// command is then refused (EPERM). A retry is safe: registering the same id twice has no effect.
async function registerObjectStore({ cluster, processes, id }) {
  for (let attempt = 1; ; attempt += 1) {
    try {
      await processes.tool('ceph', [...cluster, 'osd', 'new', id, '0']);
      return;
    } catch (error) {
      if (attempt === kRegisterAttempts || !error.message.includes('EPERM')) throw error;
    }
  }
}

// A zonegroup per region, so that radosgw checks the LocationConstraint of a new bucket. This
// gateway serves the first one, under all the host names.
async function defineRegions(admin, endpoint) {
  await admin(['realm', 'create', '--rgw-realm=sandbox', '--default']);
  for (const [index, region] of kS3Regions.entries()) {
    const master = index === 0 ? ['--master', '--default'] : [];
    const zonegroup = `--rgw-zonegroup=${region}`;
    const common = [zonegroup, `--endpoints=${endpoint}`, ...master];
    await admin(['zonegroup', 'create', ...common]);
    await admin(['zone', 'create', `--rgw-zone=zone-${region}`, ...common]);
  }
  const served = `--rgw-zonegroup=${kS3Regions[0]}`;
  const zonegroup = JSON.parse(await admin(['zonegroup', 'get', served]));
  zonegroup.hostnames = kS3Hosts;
  await admin(['zonegroup', 'set', served], { input: JSON.stringify(zonegroup) });
  await admin(['period', 'update', '--commit']);
}

// radosgw generates the keys, because every user can read a secret on a command line.
async function createUser(admin, name) {
  const output = await admin([
    'user',
    'create',
    `--uid=${name}`,
    `--display-name=${name}`,
    '--max-buckets=5000',
  ]);
  return JSON.parse(output).keys[0];
}

function cephConf({ folder, logFolder, clusterId, ports }) {
  return `[global]
fsid = ${clusterId}
mon host = v1:127.0.0.1:${ports.monitor}
mon initial members = a
ms bind msgr2 = false
public addr = 127.0.0.1
cluster addr = 127.0.0.1
auth cluster required = none
auth service required = none
auth client required = none
keyring = ${folder}/keyring
run dir = ${folder}
admin socket =
pid file =
log file = ${logFolder}/$name.log
mon data = ${folder}/mon
osd data = ${folder}/osd
osd objectstore = memstore
memstore device bytes = 4294967296
osd pool default size = 1
osd pool default min size = 1
osd pool default pg num = 1
osd pool default pgp num = 1
osd pool default pg autoscale mode = off
osd crush chooseleaf type = 0
osd max object name len = 4096
mon allow pool size one = true
mon max pg per osd = 10000
mon osd min in ratio = 0
mon data avail warn = 1
mon data avail crit = 0
paxos propose interval = 0.05
paxos min wait = 0.01
[client.rgw]
rgw frontends = beast endpoint=127.0.0.1:${ports.gateway}
rgw thread pool size = 16
rgw enable usage log = false
rgw enable gc threads = false
rgw enable lc threads = false
rgw enable quota threads = false
rgw run sync thread = false
rgw dns name = ${kS3Hosts[0]}
rgw override bucket index max shards = 1
rgw dynamic resharding = false
`;
}

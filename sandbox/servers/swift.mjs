// OpenStack Swift with its S3 interface: account, container and object servers, and a proxy server
// for each region in front of them.

import { randomBytes } from 'node:crypto';
import { mkdir, writeFile } from 'node:fs/promises';
import { userInfo } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { requireCommands } from '../processes.mjs';
import { reservePorts, waitForPorts } from '../ports.mjs';
import { kS3Hosts, kS3Regions } from './public-hosts.mjs';

// Debian's Python, which has Swift's modules; another one may come first in PATH.
const kPython = '/usr/bin/python3';
const kPackages = {
  'swift-account-server': 'swift-account',
  'swift-container-server': 'swift-container',
  'swift-object-server': 'swift-object',
  'swift-proxy-server': 'swift-proxy',
  memcached: 'memcached',
  [kPython]: 'python3-swift',
  setpriv: 'util-linux',
};
const kStores = ['account', 'container', 'object'];
const kAccount = 'sandbox';
const kRingScript = fileURLToPath(new URL('swift-rings.py', import.meta.url));

/** Starts Swift below `folder` and returns its endpoint and the keys of its two users. */
export async function startSwift({ folder, logFolder, processes }) {
  requireCommands(kPackages);
  const ports = await reservePorts(...kStores, 'memcached', ...kS3Regions);
  // Both users belong to one account, because buckets of two accounts can have the same name.
  const users = [makeUser('main'), makeUser('other')];
  await mkdir(join(folder, 'data', 'd1'), { recursive: true });
  await writeFile(join(folder, 'swift.conf'), swiftConf());

  startMemcached(processes, ports.memcached);
  const rings = kStores.map((name) => `${name}=${ports[name]}`);
  await processes.tool(kPython, [kRingScript, folder, ...rings]);
  for (const name of kStores) {
    await startServer(name, storeConf(name, { folder, port: ports[name] }));
  }
  for (const region of kS3Regions) {
    await startServer('proxy', proxyConf({ folder, ports, users, region }), region);
  }
  await waitForPorts(Object.values(ports), { signal: processes.stopping });

  const [main, other] = users;
  const endpoints = Object.fromEntries(
    kS3Regions.map((region) => [region, `http://127.0.0.1:${ports[region]}`]),
  );
  return {
    endpoint: endpoints[kS3Regions[0]],
    region: kS3Regions[0],
    regions: kS3Regions,
    endpoints,
    accessKey: `${kAccount}:${main.name}`,
    secretKey: main.secret,
    otherAccessKey: `${kAccount}:${other.name}`,
    otherSecretKey: other.secret,
  };

  async function startServer(kind, configuration, region) {
    const name = region ? `${kind}-${region}` : kind;
    const file = join(folder, `${name}.conf`);
    await writeFile(file, configuration, { mode: 0o600 });
    processes.server(`swift-${name}`, `swift-${kind}-server`, [file, 'verbose']);
  }
}

function makeUser(name) {
  return {
    name: `${name}-${randomBytes(4).toString('hex')}`,
    secret: randomBytes(20).toString('hex'),
  };
}

function startMemcached(processes, port) {
  const asRoot = userInfo().uid === 0 ? ['-u', 'root'] : [];
  processes.server('swift-memcached', 'memcached', [
    ...asRoot,
    '-l',
    '127.0.0.1',
    '-p',
    `${port}`,
    '-U',
    '0',
    '-m',
    '16',
  ]);
}

function swiftConf() {
  return `[swift-hash]
swift_hash_path_suffix = ${randomBytes(8).toString('hex')}
swift_hash_path_prefix = ${randomBytes(8).toString('hex')}
[storage-policy:0]
name = one
default = yes
`;
}

// The log address deliberately does not exist: nothing is written to the machine's system log, and
// 'verbose' sends the same lines to the server's output.
function commonConf({ folder, port }) {
  return `[DEFAULT]
bind_ip = 127.0.0.1
bind_port = ${port}
workers = 0
user = ${userInfo().username}
swift_dir = ${folder}
log_level = WARNING
log_address = ${folder}/no-system-log
`;
}

function storeConf(name, { folder, port }) {
  return `${commonConf({ folder, port })}devices = ${folder}/data
mount_check = false
[pipeline:main]
pipeline = ${name}-server
[app:${name}-server]
use = egg:swift#${name}
`;
}

function proxyConf({ folder, ports, users, region }) {
  // The filters of the pipeline that have no settings.
  const plain = ['catch_errors', 'gatekeeper', 'listing_formats', 'copy', 'slo', 'dlo'];
  const pipeline = [
    ...['catch_errors', 'gatekeeper', 'cache', 'listing_formats', 's3api', 'tempauth'],
    ...['copy', 'slo', 'dlo', 'versioned_writes', 'proxy-server'],
  ];
  return `${commonConf({ folder, port: ports[region] })}[pipeline:main]
pipeline = ${pipeline.join(' ')}
[app:proxy-server]
use = egg:swift#proxy
account_autocreate = true
allow_account_management = true
[filter:tempauth]
use = egg:swift#tempauth
${users.map(({ name, secret }) => `user_${kAccount}_${name} = ${secret} .admin`).join('\n')}
[filter:s3api]
use = egg:swift#s3api
location = ${region}
storage_domain = ${kS3Hosts.join(',')}
s3_acl = true
check_bucket_owner = true
dns_compliant_bucket_names = true
[filter:cache]
use = egg:swift#memcache
memcache_servers = 127.0.0.1:${ports.memcached}
[filter:versioned_writes]
use = egg:swift#versioned_writes
allow_versioned_writes = true
${plain.map((name) => `[filter:${name}]\nuse = egg:swift#${name}\n`).join('')}`;
}

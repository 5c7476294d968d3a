// Checks the emulator of Dropbox with the vendor's own clients and rclone. Writes one JSON object:
// check -> result, or [status, summary of the error].

import { Dropbox } from 'dropbox';
import { fileURLToPath } from 'node:url';
import { fetch } from 'undici';
import { controlDrive, dispatcher, link, printResults, python, rclone } from './drive-clients.mjs';

const kPythonClient = fileURLToPath(new URL('dropbox-client.py', import.meta.url));

const tokens = await link('dropbox');
await controlDrive('seed', 'dropbox', {
  items: [{ name: 'Photos' }, { name: 'a.txt', kind: 'file', size: 4 }],
});

function clientWith(accessToken) {
  return new Dropbox({
    accessToken,
    fetch: (url, options) => fetch(url, { ...options, dispatcher }),
  });
}

const client = clientWith(tokens.access_token);
const remote = rclone('dropbox', 'dropbox', tokens);

async function create(path) {
  return (await client.filesCreateFolderV2({ path })).result.metadata.path_display;
}

async function foldersInPages() {
  let { result } = await client.filesListFolder({ path: '', limit: 1 });
  const entries = [...result.entries];
  while (result.has_more) {
    ({ result } = await client.filesListFolderContinue({ cursor: result.cursor }));
    entries.push(...result.entries);
  }
  return entries.filter((entry) => entry['.tag'] === 'folder').map(({ name }) => name);
}

const checks = {
  account: async () => (await client.usersGetCurrentAccount()).result.email,
  space: async () => {
    const { used, allocation } = (await client.usersGetSpaceUsage()).result;
    return [used, allocation['.tag'], allocation.allocated];
  },
  'JavaScript creates': () => create('/By JavaScript'),
  'JavaScript creates again': () => create('/by javascript'),
  'JavaScript lists nothing': () => client.filesListFolder({ path: '/none' }),
  'rclone creates': async () => (await remote('mkdir', 'checked:By rclone')) && 'ok',
  Python: () => python(kPythonClient, { token: tokens.access_token }),
  'JavaScript lists, page by page': foldersInPages,
  'rclone lists': () => remote('lsf', 'checked:'),
  'wrong token': () => clientWith('wrong').filesListFolder({ path: '' }),
};

await printResults(checks, (error) => {
  if (!error.status) throw error;
  return [error.status, error.error.error_summary.replace(/\/\.*$/, '')];
});

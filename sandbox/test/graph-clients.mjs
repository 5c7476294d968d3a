// Checks the emulator of Microsoft Graph with the vendor's own client and rclone. Writes one JSON
// object: check -> result, or [status, error code].

import { Client, PageIterator } from '@microsoft/microsoft-graph-client';
import { controlDrive, dispatcher, link, printResults, rclone } from './drive-clients.mjs';

const tokens = await link('microsoft');
await controlDrive('seed', 'microsoft', {
  items: [
    { name: 'Photos' },
    { name: 'notes.txt', kind: 'file', size: 3 },
    { name: 'Team', kind: 'remote', items: [{ name: 'inside' }] },
  ],
});

function clientWith(token) {
  return Client.init({
    authProvider: (done) => done(null, token),
    fetchOptions: { dispatcher },
  });
}

const client = clientWith(tokens.access_token);
const drive = await client.api('/me/drive').get();
const remote = rclone('onedrive', 'microsoft', tokens, {
  drive_id: drive.id,
  drive_type: drive.driveType,
});

function create(name) {
  return client.api('/me/drive/root/children').post({
    name,
    folder: {},
    '@microsoft.graph.conflictBehavior': 'fail',
  });
}

async function foldersInPages() {
  const names = [];
  const first = await client
    .api('/me/drive/items/root/children')
    .top(1)
    .filter('folder ne null or remoteItem ne null')
    .select(['id', 'name', 'folder', 'remoteItem'])
    .get();
  const keep = ({ name }) => names.push(name) > 0;
  await new PageIterator(client, first, keep, { options: { dispatcher } }).iterate();
  return names;
}

const checks = {
  user: async () => {
    const user = await client.api('/me').select(['displayName', 'userPrincipalName']).get();
    return [user.displayName, user.userPrincipalName];
  },
  space: () => [drive.quota.used, drive.quota.total],
  'drive type': () => drive.driveType,
  create: async () => (await create('By the client')).name,
  'create again': () => create('By the client'),
  missing: () => client.api('/me/drive/items/nothing').get(),
  'rclone creates': async () => (await remote('mkdir', 'checked:By rclone')) && 'ok',
  'rclone lists': () => remote('lsf', 'checked:'),
  'rclone lists a shared folder': () => remote('lsf', 'checked:Team'),
  'the client lists, page by page': foldersInPages,
  'wrong token': () => clientWith('wrong').api('/me/drive').get(),
};

await printResults(checks, (error) => {
  if (!error.statusCode) throw error;
  return [error.statusCode, error.code];
});

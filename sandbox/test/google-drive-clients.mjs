// Checks the emulator of Google Drive with two independent clients: the vendor's own and rclone.
// Both connect over TLS through the proxy and see each other's folders. Writes one JSON object:
// check -> result, or [status, reason].

import { drive, auth } from '@googleapis/drive';
import { controlDrive, link, printResults, rclone } from './drive-clients.mjs';

const kFolder = 'application/vnd.google-apps.folder';

await controlDrive('seed', 'google', {
  items: [
    { name: 'Photos', items: [{ name: '2019' }, { name: 'a.txt', kind: 'file', size: 5 }] },
    { name: 'Photos' },
    { name: 'old', trashed: true, items: [{ name: 'inside' }] },
    { name: "it's \\ é" },
  ],
});
const tokens = await link('google');
const lines = rclone('drive', 'google', tokens, { scope: 'drive', pacer_min_sleep: '1ms' });
const credential = new auth.OAuth2();
credential.setCredentials({ access_token: tokens.access_token });
const { about, files } = drive({ version: 'v3', auth: credential, retry: false });

const root = (await files.get({ fileId: 'root' })).data.id;

async function namesOf(q, more = {}) {
  const { data } = await files.list({ q, orderBy: 'folder,name', ...more });
  return data.files.map(({ name }) => name);
}

function folderQuery(parent) {
  return `'${parent}' in parents and trashed = false and mimeType = '${kFolder}'`;
}

async function inPages(q) {
  const pages = [];
  let pageToken;
  do {
    const { data } = await files.list({ q, pageSize: 2, pageToken, orderBy: 'name desc' });
    pages.push(data.files.map(({ name }) => name));
    pageToken = data.nextPageToken;
  } while (pageToken);
  return pages;
}

async function create(name, parent) {
  const requestBody = { name, mimeType: kFolder, parents: [parent] };
  return (await files.create({ requestBody, fields: '*' })).data;
}

async function membersOf(options) {
  return Object.keys((await files.list(options)).data).sort();
}

await printResults(
  {
    about: async () => {
      const fields = 'user(displayName,emailAddress),storageQuota(usage,limit)';
      return (await about.get({ fields })).data;
    },
    'name of the root': async () => (await files.get({ fileId: root, fields: 'name' })).data,
    folders: () => namesOf(folderQuery(root)),
    'folders by the alias': () => namesOf(folderQuery('root')),
    'folders in pages': () => inPages(folderQuery('root')),
    'a name with a quotation mark': () => namesOf("name = 'it\\'s \\\\ é'"),
    'files of a type': () => namesOf("mimeType = 'application/octet-stream'"),
    trashed: () => namesOf('trashed = true'),
    'without a mask': () => membersOf({ pageSize: 1 }),
    'with a mask': () => membersOf({ pageSize: 1, fields: 'files(id)' }),
    'create a folder': async () => (await create('made by the vendor', root)).parents,
    'the same name again': async () => (await create('made by the vendor', root)).name,
    'rclone lists': async () => (await lines('lsf', '--dirs-only', '-R', 'checked:')).sort(),
    'rclone creates': () => lines('mkdir', 'checked:made by rclone/inside'),
    'the vendor sees it': () => namesOf("name = 'made by rclone'"),
    'rclone sees itself': () => lines('lsf', 'checked:made by rclone'),
    'rclone and space': async () => (await lines('about', 'checked:')).length > 0,
    'missing parent': () => namesOf(folderQuery('nowhere')),
    'create below nothing': () => create('x', 'nowhere'),
    'missing file': () => files.get({ fileId: 'nowhere' }),
    'bad query': () => namesOf('colour = red'),
    'bad order': () => namesOf('trashed = false', { orderBy: 'size' }),
    'bad mask': () => membersOf({ fields: 'files(colour)' }),
    'bad page size': () => membersOf({ pageSize: 1001 }),
    'bad page token': () => membersOf({ pageToken: '~!!~x' }),
    'expired token': async () => {
      await controlDrive('expire', 'google');
      return files.get({ fileId: 'root' });
    },
  },
  (error) => {
    if (!error.response) throw error;
    const [{ reason }] = error.response.data.error.errors;
    return [error.response.status, reason];
  },
);

// Asks the emulated Google Drive what the tests want to know, as two independent clients: the
// vendor's own and rclone. Both come over TLS through the proxy, and see each other's folders.

import { drive, auth } from '@googleapis/drive';
import { answerAll, link, rclone, tell } from './drive-judging.mjs';

const kFolder = 'application/vnd.google-apps.folder';

await tell('seed', 'google', {
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
const { files } = drive({ version: 'v3', auth: credential, retry: false });

const root = (await files.get({ fileId: 'root' })).data.id;

async function listed(q, more = {}) {
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

async function shown(options) {
  return Object.keys((await files.list(options)).data).sort();
}

await answerAll(
  {
    'name of the root': async () => (await files.get({ fileId: root, fields: 'name' })).data,
    folders: () => listed(folderQuery(root)),
    'folders by the alias': () => listed(folderQuery('root')),
    'folders in pages': () => inPages(folderQuery('root')),
    'a name with a quotation mark': () => listed("name = 'it\\'s \\\\ é'"),
    'files of a type': () => listed("mimeType = 'application/octet-stream'"),
    trashed: () => listed('trashed = true'),
    'without a mask': () => shown({ pageSize: 1 }),
    'with a mask': () => shown({ pageSize: 1, fields: 'files(id)' }),
    'create a folder': async () => (await create('made by the vendor', root)).parents,
    'the same name again': async () => (await create('made by the vendor', root)).name,
    'rclone lists': async () => (await lines('lsf', '--dirs-only', '-R', 'judged:')).sort(),
    'rclone creates': () => lines('mkdir', 'judged:made by rclone/inside'),
    'the vendor sees it': () => listed("name = 'made by rclone'"),
    'rclone sees itself': () => lines('lsf', 'judged:made by rclone'),
    'rclone and space': async () => (await lines('about', 'judged:')).length > 0,
    'missing parent': () => listed(folderQuery('nowhere')),
    'create below nothing': () => create('x', 'nowhere'),
    'missing file': () => files.get({ fileId: 'nowhere' }),
    'bad query': () => listed('colour = red'),
    'bad order': () => listed('trashed = false', { orderBy: 'size' }),
    'bad mask': () => shown({ fields: 'files(colour)' }),
    'bad page size': () => shown({ pageSize: 1001 }),
    'bad page token': () => shown({ pageToken: '~!!~x' }),
    'expired token': async () => {
      await tell('expire', 'google');
      return files.get({ fileId: 'root' });
    },
  },
  (error) => {
    if (!error.response) throw error;
    const [{ reason }] = error.response.data.error.errors;
    return [error.response.status, reason];
  },
);

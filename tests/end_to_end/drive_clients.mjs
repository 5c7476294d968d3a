// Independent clients of a drive: the vendor's own, if there are any, and rclone. Each makes a
// folder "by CLIENT" at the root of the account's drive; then each lists the folders there. Writes
// one JSON object: client -> sorted names.
//
//   node drive_clients.mjs SERVICE ACCOUNT     with VEMLO_SANDBOX_STATE, HTTPS_PROXY and
//                                              NODE_EXTRA_CA_CERTS

import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';
import { dispatcher, python, rclone } from '../../sandbox/test/drive-clients.mjs';
import { link, runningSandbox } from '../../sandbox/test/drives-support.mjs';

const require = createRequire(new URL('../../sandbox/package.json', import.meta.url));
const kFolder = 'application/vnd.google-apps.folder';
const kPythonClient = fileURLToPath(new URL('dropbox_client.py', import.meta.url));

const [service, account] = process.argv.slice(2);
const tokens = await link(runningSandbox(), service, { account });

function rcloneClient(type, settings) {
  const remote = rclone(type, service, tokens, settings);
  return {
    make: (name) => remote('mkdir', `checked:${name}`),
    list: async () => {
      const lines = await remote('lsf', '--dirs-only', 'checked:');
      return lines.map((line) => line.replace(/\/$/, ''));
    },
  };
}

function googleClient() {
  const { drive, auth } = require('@googleapis/drive');
  const credential = new auth.OAuth2();
  credential.setCredentials({ access_token: tokens.access_token });
  const { files } = drive({ version: 'v3', auth: credential, retry: false });
  return {
    make: (name) => files.create({ requestBody: { name, mimeType: kFolder, parents: ['root'] } }),
    list: async () => {
      const q = `'root' in parents and trashed = false and mimeType = '${kFolder}'`;
      return (await files.list({ q })).data.files.map(({ name }) => name);
    },
  };
}

function graphClient() {
  const { Client } = require('@microsoft/microsoft-graph-client');
  const client = Client.init({
    authProvider: (done) => done(null, tokens.access_token),
    fetchOptions: { dispatcher },
  });
  const children = () => client.api('/me/drive/root/children');
  return {
    drive: () => client.api('/me/drive').get(),
    make: (name) => children().post({ name, folder: {} }),
    list: async () => (await children().get()).value.map(({ name }) => name),
  };
}

function dropboxClient() {
  const { Dropbox } = require('dropbox');
  const { fetch } = require('undici');
  const client = new Dropbox({
    accessToken: tokens.access_token,
    fetch: (url, options) => fetch(url, { ...options, dispatcher }),
  });
  return {
    make: (name) => client.filesCreateFolderV2({ path: `/${name}` }),
    list: async () =>
      (await client.filesListFolder({ path: '' })).result.entries.map(({ name }) => name),
  };
}

function pythonClient() {
  const run = (facts) => python(kPythonClient, { token: tokens.access_token, ...facts });
  return { make: (name) => run({ make: name }), list: () => run({}) };
}

async function clientsOf() {
  switch (service) {
    case 'google':
      return { vendor: googleClient(), rclone: rcloneClient('drive', { scope: 'drive' }) };
    case 'microsoft': {
      const vendor = graphClient();
      const { id, driveType } = await vendor.drive();
      const settings = { drive_id: id, drive_type: driveType };
      return { vendor, rclone: rcloneClient('onedrive', settings) };
    }
    case 'dropbox':
      return { vendor: dropboxClient(), python: pythonClient(), rclone: rcloneClient('dropbox') };
    default:
      return { rclone: rcloneClient('amazon cloud drive') };
  }
}

const clients = Object.entries(await clientsOf());
for (const [name, client] of clients) await client.make(`by ${name}`);
const found = {};
for (const [name, client] of clients) found[name] = (await client.list()).sort();
process.stdout.write(JSON.stringify(found));

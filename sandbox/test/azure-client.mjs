// Checks Azurite with an independent client: the vendor's own.
//
// Writes one JSON object: check -> result. A result is a list of names, "ok" for other successful
// calls, or [status, error code].

import { readFileSync } from 'node:fs';
import { BlobServiceClient, StorageSharedKeyCredential } from '@azure/storage-blob';

const { azure, internet } = JSON.parse(readFileSync(process.env.VEMLO_SANDBOX_STATE, 'utf8'));
const kProxy = { host: `http://${internet.proxyHost}`, port: internet.proxyPort };
const kDomains = [
  'blob.core.chinacloudapi.cn',
  'blob.core.usgovcloudapi.net',
  'blob.core.cloudapi.de',
];

function client({ host, account = azure.accountName, key = azure.accessKey }) {
  return new BlobServiceClient(
    host ? `https://${host}` : azure.endpoint,
    new StorageSharedKeyCredential(account, key),
    { retryOptions: { maxTries: 1 }, proxyOptions: host && kProxy },
  );
}

async function resultOf(call) {
  try {
    const result = await call();
    return Array.isArray(result) ? result : 'ok';
  } catch (error) {
    if (!error.statusCode) throw error;
    return [error.statusCode, error.code ?? ''];
  }
}

async function names(items) {
  const found = [];
  for await (const item of items) found.push(item.name);
  return found;
}

async function pages(items) {
  const found = [];
  for await (const page of items) found.push(page.containerItems.map(({ name }) => name));
  return found;
}

const direct = client({});
const outside = client({ host: azure.host });
const other = client({
  host: azure.host.replace(azure.accountName, azure.otherAccountName),
  account: azure.otherAccountName,
  key: azure.otherAccessKey,
});
const checked = direct.getContainerClient('checked');
const content = 'x'.repeat(300000);

const checks = {
  'wrong key': () => client({ key: azure.otherAccessKey }).getProperties(),
  'wrong key, through the proxy': () =>
    client({ host: azure.host, key: azure.otherAccessKey }).getProperties(),
  create: () => checked.create(),
  'own container again': () => checked.create(),
  'create through the proxy': () => outside.createContainer('checked-outside'),
  'a third container': () => outside.createContainer('checked-third'),
  containers: () => names(direct.listContainers()),
  'containers through the proxy': () => names(outside.listContainers()),
  'containers by prefix, in pages': () =>
    pages(outside.listContainers({ prefix: 'checked' }).byPage({ maxPageSize: 2 })),
  ...Object.fromEntries(
    kDomains.map((domain) => [
      `containers at ${domain}`,
      () => names(client({ host: `${azure.accountName}.${domain}` }).listContainers()),
    ]),
  ),
  'containers of the other account': () => names(other.listContainers()),
  'the same name in the other account': () => other.createContainer('checked'),
  "another account's container, by the other key": () =>
    client({ account: azure.otherAccountName, key: azure.otherAccessKey })
      .getContainerClient('checked')
      .getProperties(),
  'an account that does not exist': () =>
    names(client({ host: 'nobody.blob.core.windows.net' }).listContainers()),
  'put through the proxy': () =>
    outside
      .getContainerClient('checked')
      .getBlockBlobClient('a/é &+ b')
      .upload(content, content.length),
  blobs: () => names(checked.listBlobsFlat()),
  'blobs through the proxy': () => names(outside.getContainerClient('checked').listBlobsFlat()),
  folders: () => names(checked.listBlobsByHierarchy('/')),
  'missing container': () => names(direct.getContainerClient('checked-missing').listBlobsFlat()),
  'invalid container name': () => direct.createContainer('No Name'),
};

const results = {};
for (const [check, call] of Object.entries(checks)) results[check] = await resultOf(call);
process.stdout.write(JSON.stringify(results));

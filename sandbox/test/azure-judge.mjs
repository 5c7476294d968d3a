// Asks Azurite what the tests want to know, as an independent client: the vendor's own.
//
// Writes one JSON object: question -> answer, where an answer is what was asked for, "ok" when that
// is nothing in particular, or [status, error code].

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

async function ask(call) {
  try {
    const answer = await call();
    return Array.isArray(answer) ? answer : 'ok';
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
const judged = direct.getContainerClient('judged');
const content = 'x'.repeat(300000);

const questions = {
  'wrong key': () => client({ key: azure.otherAccessKey }).getProperties(),
  'wrong key, through the proxy': () =>
    client({ host: azure.host, key: azure.otherAccessKey }).getProperties(),
  create: () => judged.create(),
  'own container again': () => judged.create(),
  'create through the proxy': () => outside.createContainer('judged-outside'),
  'a third container': () => outside.createContainer('judged-third'),
  containers: () => names(direct.listContainers()),
  'containers through the proxy': () => names(outside.listContainers()),
  'containers by prefix, in pages': () =>
    pages(outside.listContainers({ prefix: 'judged' }).byPage({ maxPageSize: 2 })),
  ...Object.fromEntries(
    kDomains.map((domain) => [
      `containers at ${domain}`,
      () => names(client({ host: `${azure.accountName}.${domain}` }).listContainers()),
    ]),
  ),
  'containers of the other account': () => names(other.listContainers()),
  'the same name in the other account': () => other.createContainer('judged'),
  "another account's container, by the other key": () =>
    client({ account: azure.otherAccountName, key: azure.otherAccessKey })
      .getContainerClient('judged')
      .getProperties(),
  'an account that does not exist': () =>
    names(client({ host: 'nobody.blob.core.windows.net' }).listContainers()),
  'put through the proxy': () =>
    outside
      .getContainerClient('judged')
      .getBlockBlobClient('a/é &+ b')
      .upload(content, content.length),
  blobs: () => names(judged.listBlobsFlat()),
  'blobs through the proxy': () => names(outside.getContainerClient('judged').listBlobsFlat()),
  folders: () => names(judged.listBlobsByHierarchy('/')),
  'missing container': () => names(direct.getContainerClient('judged-missing').listBlobsFlat()),
  'invalid container name': () => direct.createContainer('No Name'),
};

const answers = {};
for (const [question, call] of Object.entries(questions)) answers[question] = await ask(call);
process.stdout.write(JSON.stringify(answers));

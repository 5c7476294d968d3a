// The vendor's own client, for a view of a storage account that does not depend on the library. It
// reads the account's key from standard input and writes JSON to standard output.
//
//   node azure_client.mjs ENDPOINT ACCOUNT list CONTAINER
//   node azure_client.mjs ENDPOINT ACCOUNT put CONTAINER BLOB

import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const require = createRequire(new URL('../../sandbox/package.json', import.meta.url));
const { BlobServiceClient, StorageSharedKeyCredential } = require('@azure/storage-blob');

const [endpoint, account, action, container, blob] = process.argv.slice(2);
const key = readFileSync(0, 'utf8').trim();
const service = new BlobServiceClient(endpoint, new StorageSharedKeyCredential(account, key));
const client = service.getContainerClient(container);

if (action === 'list') {
  const found = [];
  for await (const { name, properties } of client.listBlobsFlat()) {
    found.push({ name, size: properties.contentLength, type: properties.blobType });
  }
  console.log(JSON.stringify(found));
} else {
  await client.getBlockBlobClient(blob).upload('1', 1);
  console.log('null');
}

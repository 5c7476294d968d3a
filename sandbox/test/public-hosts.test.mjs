import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { Routes } from '../internet/routes.mjs';
import { publicRoutes } from '../servers/public-hosts.mjs';

const kRadosgw = s3Server('http://127.0.0.1:1', 'http://127.0.0.1:1');
const kSwift = s3Server('http://127.0.0.1:2', 'http://127.0.0.1:3');
const kAzure = {
  endpoint: 'http://127.0.0.1:4/first',
  accountName: 'first',
  otherAccountName: 'second',
};

function s3Server(unitedStates, europe) {
  return {
    endpoint: unitedStates,
    endpoints: { 'us-east-1': unitedStates, 'eu-central-1': europe },
  };
}

const targetOf = (state, host) => new Routes(publicRoutes(state)).find(host);

describe('the public hosts', () => {
  it('lead to the server of their region, path-style and virtual-hosted', () => {
    for (const [host, target] of [
      ['s3.amazonaws.com', 'http://127.0.0.1:2'],
      ['s3.us-east-1.amazonaws.com', 'http://127.0.0.1:2'],
      ['s3.wasabisys.com', 'http://127.0.0.1:2'],
      ['s3.eu-central-1.amazonaws.com', 'http://127.0.0.1:3'],
      ['s3-eu-central-1.amazonaws.com', 'http://127.0.0.1:3'],
    ]) {
      assert.equal(targetOf({ swift: kSwift }, host), target, host);
      assert.equal(targetOf({ swift: kSwift }, `a.bucket.${host}`), target, host);
    }
  });

  it('lead to radosgw rather than to Swift', () => {
    const both = { radosgw: kRadosgw, swift: kSwift };
    assert.equal(targetOf(both, 's3.amazonaws.com'), 'http://127.0.0.1:1');
    assert.equal(targetOf(both, 's3.eu-central-1.amazonaws.com'), 'http://127.0.0.1:1');
  });

  it('lead to Azurite for its accounts, and for no other', () => {
    const state = { azure: kAzure };
    for (const domain of [
      'core.windows.net',
      'core.chinacloudapi.cn',
      'core.usgovcloudapi.net',
      'core.cloudapi.de',
    ]) {
      for (const account of ['first', 'second'])
        assert.equal(targetOf(state, `${account}.blob.${domain}`), 'http://127.0.0.1:4');
      assert.equal(targetOf(state, `third.blob.${domain}`), undefined);
    }
  });

  it('lead to the drives, once each', () => {
    const drives = { endpoint: 'http://127.0.0.1:5' };
    for (const host of [
      ...[
        'www.amazon.com',
        'api.amazon.com',
        'drive.amazonaws.com',
        'cdws.us-east-1.amazonaws.com',
      ],
      ...['content-na.drive.amazonaws.com', 'accounts.google.com', 'www.googleapis.com'],
      ...['login.microsoftonline.com', 'graph.microsoft.com'],
      ...['www.dropbox.com', 'api.dropboxapi.com', 'vemlo.example'],
    ]) {
      assert.equal(targetOf({ drives }, host), drives.endpoint, host);
    }
    const hosts = publicRoutes({ drives }).map(({ host }) => host);
    assert.deepEqual(hosts, [...new Set(hosts)]);
  });

  it('are unknown without a server', () => {
    assert.deepEqual(publicRoutes({}), []);
  });
});

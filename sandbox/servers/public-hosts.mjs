// The public host names and the local servers that serve them.

import { AmazonDrive } from '../drives/amazon-drive.mjs';
import { kRedirectUri } from '../drives/clients.mjs';
import { Dropbox } from '../drives/dropbox.mjs';
import { GoogleDrive } from '../drives/google-drive.mjs';
import { MicrosoftGraph } from '../drives/graph.mjs';
import { hostsOf, kServices } from '../drives/oauth/services.mjs';

export const kS3Regions = ['us-east-1', 'eu-central-1'];

const kRegionalS3Hosts = Object.fromEntries(
  kS3Regions.map((region) => [
    region,
    [`s3.${region}.amazonaws.com`, `s3-${region}.amazonaws.com`],
  ]),
);
const kOtherS3Hosts = ['s3.amazonaws.com', 's3.cn-north-1.amazonaws.com.cn', 's3.wasabisys.com'];

export const kS3Hosts = [...kOtherS3Hosts, ...Object.values(kRegionalS3Hosts).flat()];

// An account of Azure has a host in each of these domains: worldwide, China, government of the
// United States, Germany.
export const kAzureDomains = [
  'blob.core.windows.net',
  'blob.core.chinacloudapi.cn',
  'blob.core.usgovcloudapi.net',
  'blob.core.cloudapi.de',
];

const kDriveHosts = [
  ...[GoogleDrive, MicrosoftGraph, Dropbox, AmazonDrive].flatMap(({ hosts }) => hosts),
  ...Object.values(kServices).flatMap(hostsOf),
  new URL(kRedirectUri).host,
];

/** The routes, as { host, target }, to the servers in `state`. */
export function publicRoutes({ radosgw, swift, azure, drives, player }) {
  return [
    ...playerRoutes(player),
    ...s3Routes(radosgw ?? swift),
    ...azureRoutes(azure),
    ...driveRoutes(drives),
  ];
}

function playerRoutes(server) {
  return server ? server.hosts.map((host) => ({ host, target: server.endpoint })) : [];
}

function s3Routes(server) {
  if (!server) return [];
  const routesTo = (target) => (host) =>
    [host, `*.${host}`].map((name) => ({ host: name, target }));
  return [
    ...kOtherS3Hosts.flatMap(routesTo(server.endpoint)),
    ...kS3Regions.flatMap((region) =>
      kRegionalS3Hosts[region].flatMap(routesTo(server.endpoints[region])),
    ),
  ];
}

// By account, as in the real DNS: the host of an account that does not exist is unknown.
function azureRoutes(server) {
  if (!server) return [];
  const target = new URL(server.endpoint).origin;
  return [server.accountName, server.otherAccountName].flatMap((account) =>
    kAzureDomains.map((domain) => ({ host: `${account}.${domain}`, target })),
  );
}

function driveRoutes(server) {
  if (!server) return [];
  return [...new Set(kDriveHosts)].map((host) => ({ host, target: server.endpoint }));
}

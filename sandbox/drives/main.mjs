// The process of the part `drives`. Usage: main.mjs PUBLIC_PORT CONTROL_PORT

import { startControl } from '../control.mjs';
import { AmazonDrive } from './amazon-drive.mjs';
import { kAccounts } from './clients.mjs';
import { Dropbox } from './dropbox.mjs';
import { GoogleDrive } from './google-drive.mjs';
import { MicrosoftGraph } from './graph.mjs';
import { AuthorizationServer, kRotations } from './oauth/authorization-server.mjs';
import { startPublicServer } from './rest.mjs';

const kEmulators = {
  google: GoogleDrive,
  amazon: AmazonDrive,
  microsoft: MicrosoftGraph,
  dropbox: Dropbox,
};

const services = Object.fromEntries(
  Object.entries(kEmulators).map(([name, Emulator]) => [
    name,
    { server: new AuthorizationServer(name), emulator: new Emulator() },
  ]),
);

function serviceNamed(name) {
  if (!Object.hasOwn(services, name))
    throw new Error(`"service" must be one of ${Object.keys(services).join(', ')}`);
  return services[name];
}

const emulatorAction =
  (operation) =>
  ({ service, account = kAccounts.account, ...rest }) =>
    serviceNamed(service).emulator[operation]({ account, ...rest });

function setLifetime({ service, seconds }) {
  if (!(Number.isInteger(seconds) && seconds > 0))
    throw new Error('"seconds" must be a whole number above 0');
  serviceNamed(service).server.lifetime = seconds;
}

function setRotation({ service, rotation }) {
  if (!kRotations.includes(rotation))
    throw new Error(`"rotation" must be one of ${kRotations.join(', ')}`);
  serviceNamed(service).server.rotation = rotation;
}

function counters() {
  return Object.fromEntries(
    Object.entries(services).map(([name, { server }]) => [name, server.counters]),
  );
}

function issued() {
  return Object.values(services).flatMap(({ server }) => server.issued);
}

function resetServers() {
  for (const { server } of Object.values(services)) server.reset();
}

const [publicPort, controlPort] = process.argv.slice(2).map(Number);
await startControl(
  {
    'POST /expire': ({ service }) => serviceNamed(service).server.expireAccessTokens(),
    'POST /revoke': ({ service }) => serviceNamed(service).server.revokeRefreshTokens(),
    'POST /lifetime': setLifetime,
    'POST /rotation': setRotation,
    'GET /tokens': counters,
    'DELETE /tokens': resetServers,
    'GET /issued': issued,
    'POST /seed': emulatorAction('seed'),
    'POST /configure': emulatorAction('configure'),
    'POST /inspect': emulatorAction('inspect'),
  },
  controlPort,
);
await startPublicServer({ port: publicPort, services });

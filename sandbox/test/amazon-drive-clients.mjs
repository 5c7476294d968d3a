// Checks the emulator of Amazon Drive with rclone, as there is no other client. Writes one JSON
// object: check -> result, or rclone's error message.

import { controlDrive, link, printResults, rclone } from './drive-clients.mjs';

const kName = 'Ünï "q" \\ (1)';

const tokens = await link('amazon');
const { items } = await controlDrive('seed', 'amazon', {
  items: [
    { name: 'Photos', items: [{ name: 'made elsewhere' }] },
    { name: 'a.txt', kind: 'file', size: 4 },
  ],
});
const parent = items[0].id;
const remote = rclone('amazon cloud drive', 'amazon', tokens);

const checks = {
  creates: async () => (await remote('mkdir', `checked:Photos/${kName}`)) && 'ok',
  'creates what is there': async () => (await remote('mkdir', `checked:Photos/${kName}`)) && 'ok',
  lists: () => remote('lsf', 'checked:'),
  'lists what it made': async () => (await remote('lsf', 'checked:Photos')).sort().reverse(),
  'what it made': async () => {
    const { children } = await controlDrive('inspect', 'amazon', { parent });
    return children.map(({ name }) => name);
  },
  'lists nothing': () => remote('lsf', 'checked:none'),
};

await printResults(checks, (error) => {
  const [message] = /directory not found/.exec(error.message) ?? [];
  if (!message) throw error;
  return message;
});

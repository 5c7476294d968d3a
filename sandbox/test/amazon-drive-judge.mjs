// Asks the emulator of Amazon Drive what the tests want to know, as rclone: there is no other
// client. Writes one JSON object: question -> answer, or what rclone complained of.

import { answerAll, link, rclone, tell } from './drive-judging.mjs';

const kName = 'Ünï "q" \\ (1)';

const tokens = await link('amazon');
const { items } = await tell('seed', 'amazon', {
  items: [
    { name: 'Photos', items: [{ name: 'made elsewhere' }] },
    { name: 'a.txt', kind: 'file', size: 4 },
  ],
});
const parent = items[0].id;
const remote = rclone('amazon cloud drive', 'amazon', tokens);

const questions = {
  creates: async () => (await remote('mkdir', `judged:Photos/${kName}`)) && 'ok',
  'creates what is there': async () => (await remote('mkdir', `judged:Photos/${kName}`)) && 'ok',
  lists: () => remote('lsf', 'judged:'),
  'lists what it made': async () => (await remote('lsf', 'judged:Photos')).sort().reverse(),
  'what it made': async () => {
    const { children } = await tell('inspect', 'amazon', { parent });
    return children.map(({ name }) => name);
  },
  'lists nothing': () => remote('lsf', 'judged:none'),
};

await answerAll(questions, (error) => {
  const [complaint] = /directory not found/.exec(error.message) ?? [];
  if (!complaint) throw error;
  return complaint;
});

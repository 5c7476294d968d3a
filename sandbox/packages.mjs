// The npm packages that servers are taken from.

import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kSandboxFolder = fileURLToPath(new URL('.', import.meta.url));

/** The folder of an installed package; throws, saying how to install it, where there is none. */
export function packageFolder(name) {
  const folder = join(kSandboxFolder, 'node_modules', name);
  if (existsSync(folder)) return folder;
  const install = `npm ci --ignore-scripts --prefix ${kSandboxFolder}`;
  throw new Error(`the npm package ${name} is not installed; run: ${install}`);
}

// The npm packages that contain servers.

import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kSandboxFolder = fileURLToPath(new URL('.', import.meta.url));

/** The folder of an installed package; throws if it is not installed. */
export function packageFolder(name) {
  const folder = join(kSandboxFolder, 'node_modules', name);
  if (existsSync(folder)) return folder;
  const install = `npm ci --ignore-scripts --prefix ${kSandboxFolder}`;
  throw new Error(`the npm package ${name} is not installed; run: ${install}`);
}

// Checks responses against the type declarations in a vendor's client.

import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';

const kFile = join(dirname(fileURLToPath(import.meta.url)), 'responses.ts');
const kOptions = {
  lib: ['lib.es2020.d.ts'],
  module: ts.ModuleKind.ESNext,
  moduleResolution: ts.ModuleResolutionKind.Bundler,
  noEmit: true,
  skipLibCheck: true,
  strict: true,
  target: ts.ScriptTarget.ES2020,
  types: [],
};

/**
 * The compiler's messages on `responses`, a list of { type, json }: each is assigned as a literal
 * to its type, so that undeclared members and members of a wrong type are reported at any depth.
 */
export function typeErrors(declarations, responses) {
  const lines = responses.map(
    ({ type, json }, index) => `export const response${index}: ${type} = ${JSON.stringify(json)};`,
  );
  const text = [declarations, ...lines].join('\n');
  const host = ts.createCompilerHost(kOptions);
  const { getSourceFile, fileExists } = host;
  host.fileExists = (name) => name === kFile || fileExists(name);
  host.getSourceFile = (name, version) =>
    name === kFile ? ts.createSourceFile(name, text, version) : getSourceFile(name, version);
  const program = ts.createProgram([kFile], kOptions, host);
  return ts
    .getPreEmitDiagnostics(program)
    .map(({ messageText }) => ts.flattenDiagnosticMessageText(messageText, '\n'));
}

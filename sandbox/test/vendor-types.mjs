// Checks answers against the type declarations that a vendor ships with its client.

import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';

const kFile = join(dirname(fileURLToPath(import.meta.url)), 'answers.ts');
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
 * What the compiler says against `answers`, a list of { type, json }: each is assigned as a literal
 * to its type, so members of no such name and members of another type are told, however deep.
 */
export function typeFaults(declarations, answers) {
  const lines = answers.map(
    ({ type, json }, index) => `export const answer${index}: ${type} = ${JSON.stringify(json)};`,
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

#!/usr/bin/env node
// The sandbox's command line; see README.md.

import { parseArgs } from 'node:util';
import { consent } from './commands/consent.mjs';
import { run } from './commands/run.mjs';
import { serve } from './commands/serve.mjs';
import { start } from './commands/start.mjs';
import { stop } from './commands/stop.mjs';
import { kParts } from './sandbox.mjs';

const kUsage = `usage: cli.mjs run   [PART...] -- COMMAND [ARGUMENT...]
       cli.mjs serve --state FILE [PART...] [--parent PID]
       cli.mjs start --state FILE [PART...] [--parent [PID]]
       cli.mjs stop  --state FILE
       cli.mjs run|serve|start --play RECORDING ...
       cli.mjs consent [--state FILE] [--account NAME] [--deny] URL

A local cloud on 127.0.0.1, with throw-away credentials, gone when it is stopped.

  run     starts the parts, runs COMMAND with VEMLO_SANDBOX_... variables that describe them,
          stops them and exits as COMMAND did
  serve   starts the parts, writes FILE and stays until it is told to end
  start   the same in the background; returns when everything is ready
  stop    ends what 'start' began and waits until it is gone
  consent opens an authorization address as a browser would, signs in, allows what is asked for
          and prints the address with which the redirect page was reached

Parts (all of them unless some are named):
  --radosgw    Ceph's S3 gateway
  --swift      OpenStack Swift with its S3 interface
  --azurite    Azure Blob Storage
  --drives     Google Drive, OneDrive, Dropbox and Amazon Drive with their sign-in pages
  --internet   a proxy that serves the public host names from the local servers

Instead of parts:
  --play FILE  a proxy that serves the hosts in a recording (HAR) from that recording

Options:
  --state FILE     where the description (JSON) of the running sandbox is
  --parent PID     also end when process PID ends; for 'start' without a number: its own caller
  --account NAME   who signs in
  --deny           consent to nothing
  --help           this text
`;
const kOptions = {
  ...Object.fromEntries(kParts.map((part) => [part, { type: 'boolean' }])),
  state: { type: 'string' },
  parent: { type: 'string' },
  play: { type: 'string' },
  account: { type: 'string' },
  deny: { type: 'boolean' },
  help: { type: 'boolean', short: 'h' },
};

class UsageError extends Error {}

function parse(argv) {
  const end = argv.indexOf('--');
  const ownArguments = end < 0 ? argv : argv.slice(0, end);
  const command = end < 0 ? [] : argv.slice(end + 1);
  const withParent = ownArguments.flatMap((word, index) =>
    word === '--parent' &&
    ownArguments[0] === 'start' &&
    !/^\d+$/.test(ownArguments[index + 1] ?? '')
      ? [`--parent=${process.ppid}`]
      : [word],
  );
  try {
    const { values, positionals } = parseArgs({
      args: withParent,
      options: kOptions,
      allowPositionals: true,
    });
    return { values, positionals, command };
  } catch (error) {
    throw new UsageError(error.message);
  }
}

// The options and the operand of each subcommand. `state` is required wherever it is an option,
// except for consent.
const kSubcommands = {
  run: { options: [...kParts, 'play'] },
  serve: { options: [...kParts, 'play', 'state', 'parent'] },
  start: { options: [...kParts, 'play', 'state', 'parent'] },
  stop: { options: ['state'] },
  consent: { options: ['state', 'account', 'deny'], operand: 'URL' },
};

function check({ values, positionals, command }) {
  const [subcommand, ...rest] = positionals;
  if (!Object.hasOwn(kSubcommands, subcommand ?? ''))
    throw new UsageError(`say one of ${Object.keys(kSubcommands).join(', ')}`);
  const { options, operand } = kSubcommands[subcommand];
  const unsupported = Object.keys(values).find((name) => !options.includes(name));
  if (unsupported) throw new UsageError(`${subcommand} takes no --${unsupported}`);
  if (operand && rest.length === 0) throw new UsageError(`${subcommand} needs ${operand}`);
  if (rest.length > (operand ? 1 : 0)) throw new UsageError(`unexpected argument '${rest.at(-1)}'`);
  if (subcommand === 'run' && command.length === 0)
    throw new UsageError('run needs a command after --');
  if (subcommand !== 'run' && command.length > 0)
    throw new UsageError(`${subcommand} takes no command`);
  if (options.includes('state') && subcommand !== 'consent' && !values.state)
    throw new UsageError(`${subcommand} needs --state FILE`);
  if (values.play !== undefined && kParts.some((part) => values[part]))
    throw new UsageError('--play takes the place of the parts');
  if (values.parent !== undefined && !/^[1-9]\d*$/.test(values.parent))
    throw new UsageError('--parent needs a process id');
  return subcommand;
}

function partsOf(values) {
  if (values.play !== undefined) return ['internet'];
  const named = kParts.filter((part) => values[part]);
  return named.length > 0 ? named : kParts;
}

async function main(argv) {
  const parsed = parse(argv);
  const { values, command } = parsed;
  if (values.help) {
    process.stdout.write(kUsage);
    return 0;
  }
  const subcommand = check(parsed);
  const options = {
    parts: partsOf(values),
    recording: values.play,
    file: values.state,
    parent: values.parent && Number(values.parent),
  };
  switch (subcommand) {
    case 'run':
      return run({ ...options, command });
    case 'serve':
      return serve(options);
    case 'start':
      return start(options);
    case 'consent': {
      const file = values.state ?? process.env.VEMLO_SANDBOX_STATE;
      return consent({ ...values, file, url: parsed.positionals[1] });
    }
    default:
      return stop(options.file);
  }
}

try {
  process.exitCode = await main(process.argv.slice(2));
} catch (error) {
  process.stderr.write(`sandbox: ${error.message}\n`);
  if (error instanceof UsageError) process.stderr.write(`\n${kUsage}`);
  process.exitCode = error instanceof UsageError ? 2 : 1;
}

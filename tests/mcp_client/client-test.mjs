// Drives varnholt-mcp with the official MCP TypeScript SDK clients, as MCP
// hosts would: the v1 SDK (the initialize handshake), and the v2 client both
// in 'auto' mode (it probes with server/discover and chooses) and pinned to
// the stateless revision 2026-07-28. Each lists and calls every tool, lists
// and reads the resources and templates, completes a date, and lists and gets
// every prompt, and every document is checked against varnholt-query: a tool
// result's text must be varnholt-query's standard output for the equivalent
// command line written compactly on one line, byte for byte, and its
// structured content that document once written by varnholt-query's own
// writer (varnholt-rewrite-json, with --compact for the one-line form); a
// resource's text is the standard output itself. The SDKs themselves check
// each structured answer against the tool's output schema. Each client
// connects again announcing the MCP Apps extension, and only then sees the
// time view and the summary tool's link to it.
//
// Usage: node client-test.mjs <varnholt-mcp> <varnholt-query> <varnholt-sample-db> <varnholt-rewrite-json>
// Everything happens in temporary homes (nss_wrapper), under a frozen clock
// (libfaketime), in Europe/Berlin with a German locale.

import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import process from 'node:process';

import Ajv from 'ajv';
import { Client as ClientV2 } from '@modelcontextprotocol/client';
import { StdioClientTransport as StdioClientTransportV2 } from '@modelcontextprotocol/client/stdio';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { EmptyResultSchema } from '@modelcontextprotocol/sdk/types.js';

const [mcpBinary, queryBinary, sampleDbBinary, rewriteBinary] = process.argv.slice(2);
if (!rewriteBinary) {
  console.error('usage: node client-test.mjs <varnholt-mcp> <varnholt-query> <varnholt-sample-db> <varnholt-rewrite-json>');
  process.exit(2);
}

const kNow = 1775037600; // Wednesday 1 April 2026, 10:00 UTC; noon in Berlin
const kNssWrapper = 'libnss_wrapper.so';
const kFakeTime = '/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1';

let failures = 0;
let checks = 0;
// The client the checks are about, named in every failure.
let currentClient = '';
function check(condition, what) {
  checks += 1;
  if (!condition) {
    failures += 1;
    console.error(`FAIL [${currentClient}]: ${what}`);
  }
}

// The first line where two texts differ, for a readable failure.
function firstDifference(actual, expected) {
  const a = String(actual).split('\n');
  const b = String(expected).split('\n');
  for (let i = 0; i < Math.max(a.length, b.length); i += 1) {
    if (a[i] !== b[i]) return `line ${i + 1}: got ${JSON.stringify(a[i])}, want ${JSON.stringify(b[i])}`;
  }
  return 'equal';
}

// A home directory of its own, registered as the user's through nss_wrapper;
// $HOME points nowhere, to catch anything that reads it.
function makeHome(name) {
  const home = fs.mkdtempSync(path.join(os.tmpdir(), `varnholt-mcp-client-${name}-`));
  fs.mkdirSync(path.join(home, '.nss'));
  const uid = process.getuid();
  const gid = process.getgid();
  fs.writeFileSync(path.join(home, '.nss/passwd'), `tester:x:${uid}:${gid}:Test User:${home}:/bin/sh\n`);
  fs.writeFileSync(path.join(home, '.nss/group'), `tester:x:${gid}:\n`);
  const env = {
    NSS_WRAPPER_PASSWD: path.join(home, '.nss/passwd'),
    NSS_WRAPPER_GROUP: path.join(home, '.nss/group'),
    HOME: '/nonexistent-home-do-not-use',
    PATH: '/usr/bin:/bin',
    TZ: 'Europe/Berlin',
    LANG: 'de_DE.UTF-8',
    FAKETIME: String(kNow),
    FAKETIME_FMT: '%s',
    FAKETIME_NO_CACHE: '1',
    NO_FAKE_STAT: '1',
    LD_PRELOAD: `${kNssWrapper} ${kFakeTime}`,
    // For the programs built with the sanitizers (ignored otherwise): their
    // runtime cannot live with nss_wrapper's RTLD_DEEPBIND, and its allocator
    // asks for the time while it holds its lock, which deadlocks with
    // libfaketime's first lookups, unless it never releases memory by time.
    NSS_WRAPPER_DISABLE_DEEPBIND: '1',
    ASAN_OPTIONS: 'allocator_release_to_os_interval_ms=-1',
  };
  return { home, env };
}

// Runs a program to its end. The homes do not change once furnished and the
// clock is frozen, so the same run gives the same result: each is run once,
// and the three clients are compared with the same command-line answers
// (under the sanitizers, running them once per client cost minutes).
const runs = new Map();
function run(program, args, env, input) {
  const key = JSON.stringify([program, args, env, input ?? null]);
  const known = runs.get(key);
  if (known) return known;
  const result = spawnSync(program, args, { env, input, encoding: 'utf8', maxBuffer: 64 * 1024 * 1024 });
  if (result.error) throw result.error;
  runs.set(key, result);
  return result;
}

// A document as a tool result's text carries it: one line, by varnholt-query's writer.
const compactly = (text) => run(rewriteBinary, ['--compact'], {}, text).stdout;

// The recorder's files: ten days of synthetic activity ending half an hour
// ago, its logs, and a report of a failed analysis bridge.
function furnish({ home, env }) {
  const dir = path.join(home, '.varnholt');
  fs.mkdirSync(path.join(dir, 'logs'), { recursive: true });
  const generated = run(sampleDbBinary, ['--days', '10', '--seed', '5', '--end', String(kNow - 1800),
    path.join(dir, 'varnholt.db')], env);
  if (generated.status !== 0) throw new Error(`varnholt-sample-db failed: ${generated.stderr}`);
  for (const log of ['recorder.log', 'mlx-bridge-recorder-vlm.log', 'mlx-bridge-recorder-vlm-stdout.log']) {
    fs.writeFileSync(path.join(dir, 'logs', log), `first line of ${log}\nlast line\n`);
  }
  fs.writeFileSync(path.join(dir, 'last-bridge-error.json'), JSON.stringify({
    timestamp: '2026-04-01T09:12:00Z', pythonPath: '/usr/bin/python3', bridgePath: '/opt/bridge.py',
    modelId: 'vlm', socketPath: '/tmp/bridge.sock', reason: 'Model weights not found',
  }));
}

// The three clients, each connected to its own server process; `capabilities`
// are the client's own (none unless a check gives some).
const kClients = [
  { name: 'v1 SDK, handshake', stateless: false, connect: connectV1 },
  { name: 'v2 client, auto', stateless: true, connect: (env, capabilities) => connectV2(env, 'auto', capabilities) },
  { name: 'v2 client, pinned to 2026-07-28', stateless: true,
    connect: (env, capabilities) => connectV2(env, { pin: '2026-07-28' }, capabilities) },
];

// What a host that shows MCP Apps announces.
const kAppsCapabilities = { extensions: { 'io.modelcontextprotocol/ui': { mimeTypes: ['text/html;profile=mcp-app'] } } };

async function connectV1(env, capabilities) {
  const transport = new StdioClientTransport({ command: mcpBinary, args: [], env, stderr: 'pipe' });
  let serverErrors = '';
  transport.stderr?.on('data', (chunk) => { serverErrors += chunk; });
  const client = new Client({ name: 'varnholt-mcp-client-test', version: '1.0.0' }, capabilities ? { capabilities } : undefined);
  await client.connect(transport);
  return { client, errors: () => serverErrors };
}

async function connectV2(env, mode, capabilities) {
  const transport = new StdioClientTransportV2({ command: mcpBinary, args: [], env, stderr: 'pipe' });
  let serverErrors = '';
  transport.stderr?.on('data', (chunk) => { serverErrors += chunk; });
  const client = new ClientV2({ name: 'varnholt-mcp-client-test', version: '2.0.0' },
    { versionNegotiation: { mode }, ...(capabilities ? { capabilities } : {}) });
  await client.connect(transport);
  return { client, errors: () => serverErrors };
}

// Calls `tool` with `args` and compares the answer with `varnholt-query
// commandLine...` run in the same home at the same frozen instant.
async function compareWithCommandLine(client, env, tool, args, commandLine) {
  const label = `${tool} ${JSON.stringify(args)} = varnholt-query ${commandLine.join(' ')}`;
  let result;
  try {
    result = await client.callTool({ name: tool, arguments: args });
  } catch (error) {
    check(false, `${label}: the client refused the answer: ${error.message}`);
    return;
  }
  const expected = run(queryBinary, commandLine, env);
  check(expected.status === 0 || expected.status === 1, `${label}: varnholt-query exited ${expected.status}`);
  check(result.isError === (expected.status === 1), `${label}: isError ${result.isError}, exit status ${expected.status}`);
  check(result.content.length === 1 && result.content[0].type === 'text', `${label}: one text content item`);
  const text = result.content[0]?.text;
  const expectedText = compactly(expected.stdout);
  check(expectedText.length > 0 && !expectedText.includes('\n'), `${label}: the command line's document on one line`);
  check(text === expectedText, `${label}: text content differs, ${firstDifference(text, expectedText)}`);
  check(result.structuredContent !== undefined, `${label}: no structured content`);
  const rewritten = run(rewriteBinary, [], {}, JSON.stringify(result.structuredContent));
  check(rewritten.stdout === expected.stdout,
    `${label}: structured content differs, ${firstDifference(rewritten.stdout, expected.stdout)}`);
  return result;
}

// Calls that have no command line: their error envelope is checked directly.
async function expectToolError(client, tool, args, code, message) {
  const label = `${tool} ${JSON.stringify(args)}`;
  const result = await client.callTool({ name: tool, arguments: args });
  check(result.isError === true, `${label}: isError`);
  const error = result.structuredContent?.error;
  check(error?.code === code, `${label}: code ${error?.code}, want ${code}`);
  check(error?.message === message, `${label}: message ${JSON.stringify(error?.message)}`);
  check(result.content[0].text === compactly(JSON.stringify(result.structuredContent)),
    `${label}: text and structured content differ`);
}

async function expectProtocolError(promise, code, what) {
  try {
    await promise;
    check(false, `${what}: no error`);
  } catch (error) {
    check(error.code === code, `${what}: got ${error.code} ${error.message}`);
  }
}

// The resources and their equivalent command lines; a day's resources are
// checked for the days completion offers and for one without activity.
const kResources = [
  ['varnholt://status', ['status', '--json']],
  ['varnholt://summary/today', ['summary', '--max-chars', '24000']],
];
// The date seven days on, for a week from `day`.
const weekEnd = (day) => new Date(Date.parse(`${day}T00:00:00Z`) + 6 * 86400000).toISOString().slice(0, 10);
const kDayTemplates = [
  ['varnholt://summary/day/{date}', (day) => ['summary', '--from', day, '--to', day, '--max-chars', '24000']],
  ['varnholt://summary/week/{date}', (day) => ['summary', '--from', day, '--to', weekEnd(day), '--max-chars', '24000']],
  ['varnholt://timeline/day/{date}', (day) => ['range', '--from', day, '--to', day]],
];

// Reads `uri` and compares its one content with `varnholt-query commandLine...`.
async function compareResource(client, env, uri, commandLine) {
  const label = `${uri} = varnholt-query ${commandLine.join(' ')}`;
  let result;
  try {
    result = await client.readResource({ uri });
  } catch (error) {
    check(false, `${label}: ${error.message}`);
    return;
  }
  const expected = run(queryBinary, commandLine, env);
  check(result.contents.length === 1, `${label}: one content`);
  const [content] = result.contents;
  check(content?.uri === uri && content?.mimeType === 'application/json', `${label}: uri and type ${content?.uri} ${content?.mimeType}`);
  check(content?.text === expected.stdout, `${label}: text differs, ${firstDifference(content?.text, expected.stdout)}`);
}

// The prompts with arguments, and for each the documents its messages must
// embed, as command lines; a last word 'compact' means the document as a
// tool result's text, 'moments' one line per moment, else as printed.
const kPrompts = [
  ['stand-up', {}, [['summary', '--from', '2026-03-31', '--to', '2026-03-31', '--only', 'sessions', '--max-chars', '11000', 'compact'],
    ['summary', '--only', 'sessions', '--max-chars', '11000', 'compact']]],
  ['stand-up', { date: '2026-03-31' }, [['summary', '--from', '2026-03-30', '--to', '2026-03-30', '--only', 'sessions', '--max-chars', '11000', 'compact'],
    ['summary', '--from', '2026-03-31', '--to', '2026-03-31', '--only', 'sessions', '--max-chars', '11000', 'compact']]],
  ['timesheet', {}, [['summary', '--from', '2026-03-30', '--to', '2026-04-01', '--only', 'applications,entities,days', '--limit', '20', 'compact']]],
  ['timesheet', { week_start: '2026-03-23' }, [['summary', '--from', '2026-03-23', '--to', '2026-03-29', '--only', 'applications,entities,days', '--limit', '20', 'compact']]],
  ['timesheet', { week_start: '2026-03-23', categories: 'Coding=app:Xcode|app:Terminal\nMail=app:Mail' },
    [['timesheet', '--from', '2026-03-23', '--to', '2026-03-29', '--category', 'Coding=app:Xcode|app:Terminal',
      '--category', 'Mail=app:Mail', '--max-chars', '24000', 'compact']]],
  ['timesheet', { categories: 'Coding=app:Xcode|app:Terminal' },
    [['timesheet', '--from', '2026-03-30', '--to', '2026-04-01', '--category', 'Coding=app:Xcode|app:Terminal',
      '--max-chars', '24000', 'compact']]],
  ['what-was-i-doing', { time: '2026-04-01T11:30:00' },
    [['summary', '--from', '2026-04-01T09:15:00Z', '--to', '2026-04-01T09:45:00Z', '--max-chars', '12000', 'compact'],
      ['range', '--from', '2026-04-01T09:20:00Z', '--to', '2026-04-01T09:40:00Z', 'moments']]],
];

// Every prompt's result, as the client receives it, fits 20,000 characters.
const kLongestPrompt = 20000;

// The text a prompt shows for `printed`, the document of a command line.
function embedded(printed, form) {
  if (form === 'compact') return compactly(printed);
  if (form !== 'moments') return printed;
  const lines = JSON.parse(printed).data.moments.map((moment) =>
    `${moment.bucket_start_iso} to ${moment.bucket_end_iso}: ${moment.representative.vlm_description}\n`);
  return `The moments, in UTC:\n${lines.join('')}`;
}

async function comparePrompt(client, env, name, args, commandLines) {
  const label = `prompt ${name} ${JSON.stringify(args)}`;
  let result;
  try {
    result = await client.getPrompt({ name, arguments: args });
  } catch (error) {
    check(false, `${label}: ${error.message}`);
    return;
  }
  check(typeof result.description === 'string', `${label}: description`);
  const texts = result.messages.map((message) => {
    check(message.role === 'user', `${label}: role ${message.role}`);
    const { content } = message;
    return content.type === 'resource' ? content.resource.text : content.text;
  });
  for (const words of commandLines) {
    const form = ['compact', 'moments'].includes(words.at(-1)) ? words.at(-1) : 'printed';
    const commandLine = form === 'printed' ? words : words.slice(0, -1);
    const expected = embedded(run(queryBinary, commandLine, env).stdout, form);
    check(texts.includes(expected), `${label}: no message holds varnholt-query ${commandLine.join(' ')} (${form})`);
  }
  const size = JSON.stringify(result).length;
  check(size <= kLongestPrompt, `${label}: ${size} characters`);
  console.log(`[${currentClient}] ${label}: ${size} characters`);
}

// The days whose timeline has moments, newest first, by the command line.
function activeDays(env) {
  const days = [];
  for (let back = 0; back < 14; back += 1) {
    const day = new Date((kNow - back * 86400) * 1000).toISOString().slice(0, 10);
    const timeline = JSON.parse(run(queryBinary, ['range', '--from', day, '--to', day], env).stdout);
    if (timeline.meta.total_moments > 0) days.push(day);
  }
  return days;
}

const kCalls = [
  ['timeline', {}, ['today']],
  ['timeline', { preset: 'today', limit: 4 }, ['today', '--limit', '4']],
  ['timeline', { preset: 'yesterday', compact: true }, ['yesterday', '--compact']],
  ['timeline', { preset: 'this-week', limit: 3 }, ['this-week', '--limit', '3']],
  ['timeline', { preset: 'last-active-day', limit: 2, images: true }, ['last-active-day', '--limit', '2', '--images']],
  ['timeline', { since: '2h', images: true }, ['recent', '--since', '2h', '--images']],
  ['timeline', { since: '1.5h', limit: 2, compact: true }, ['recent', '--since', '1.5h', '--limit', '2', '--compact']],
  ['timeline', { since: '1w', limit: 0 }, ['recent', '--since', '1w', '--limit', '0']],
  ['timeline', { from: '2026-03-30', to: '2026-03-30' }, ['range', '--from', '2026-03-30', '--to', '2026-03-30']],
  ['timeline', { from: '2026-03-31T08:00:00', to: '2026-03-31T10:30:00Z', images: true },
    ['range', '--from', '2026-03-31T08:00:00', '--to', '2026-03-31T10:30:00Z', '--images']],
  ['timeline', { since: '0h' }, ['recent', '--since', '0h']],
  ['timeline', { since: '2H' }, ['recent', '--since', '2H']],
  ['timeline', { since: '' }, ['recent', '--since', '']],
  ['timeline', { from: '2026-03-31', to: '2026-03-30' }, ['range', '--from', '2026-03-31', '--to', '2026-03-30']],
  ['timeline', { from: 'Monday', to: '2026-03-30' }, ['range', '--from', 'Monday', '--to', '2026-03-30']],
  ['timeline', { to: '2026-03-30' }, ['range', '--to', '2026-03-30']],
  ['search', { keyword: 'tests' }, ['search', 'tests']],
  ['search', { keyword: 'unit tests', limit: 5, collapse: true }, ['search', 'unit tests', '--limit', '5', '--collapse']],
  ['search', { keyword: 'review', latest: true, images: true }, ['search', 'review', '--latest', '--images']],
  ['search', { keyword: 'fixing', app: 'Slack', since: '1d', compact: true },
    ['search', 'fixing', '--app', 'Slack', '--since', '1d', '--compact']],
  ['search', { keyword: 'dashboard', since: '2d', from: '2026-03-30', to: '2026-03-31', limit: 200 },
    ['search', 'dashboard', '--since', '2d', '--from', '2026-03-30', '--to', '2026-03-31', '--limit', '200']],
  // Beyond the schema's maximum; clamped as on the command line.
  ['search', { keyword: '"web dashboard"', limit: 1000 }, ['search', '"web dashboard"', '--limit', '1000']],
  ['search', { keyword: 'zzzunmatched' }, ['search', 'zzzunmatched']],
  ['search', {}, ['search']],
  ['search', { keyword: 'a AND' }, ['search', 'a AND']],
  ['search', { keyword: 'review tests', all_words: true, latest: true }, ['search', 'review tests', '--all-words', '--latest']],
  ['search', { keyword: '"unit tests" NOT OR', all_words: true, since: '1w' },
    ['search', '"unit tests" NOT OR', '--all-words', '--since', '1w']],
  ['search', { keyword: 'x', from: '2026-04-08', to: '2026-04-07' }, ['search', 'x', '--from', '2026-04-08', '--to', '2026-04-07']],
  ['search', { keyword: 'x', since: 'h' }, ['search', 'x', '--since', 'h']],
  ['entities', {}, ['entities']],
  ['entities', { since: '1w', kind: 'app', limit: 3 }, ['entities', '--since', '1w', '--kind', 'app', '--limit', '3']],
  ['entities', { kind: 'programming_language', limit: 9999 }, ['entities', '--kind', 'programming_language', '--limit', '9999']],
  ['entities', { since: 'x' }, ['entities', '--since', 'x']],
  // A summary without max_chars is budgeted to 24,000 characters; the ten
  // days of the sample need more, so detail is dropped as on the command line.
  ['summary', {}, ['summary', '--max-chars', '24000']],
  ['summary', { preset: 'this-week' }, ['summary', 'this-week', '--max-chars', '24000']],
  ['summary', { since: '10d' }, ['summary', '--since', '10d', '--max-chars', '24000']],
  ['summary', { preset: 'yesterday', idle: '10m', kind: 'app', limit: 3, max_chars: 100000 },
    ['summary', 'yesterday', '--idle', '10m', '--kind', 'app', '--limit', '3', '--max-chars', '100000']],
  ['summary', { since: '2d', max_chars: 3000 }, ['summary', '--since', '2d', '--max-chars', '3000']],
  ['summary', { from: '2026-03-30', to: '2026-03-31' }, ['summary', '--from', '2026-03-30', '--to', '2026-03-31', '--max-chars', '24000']],
  ['summary', { idle: '2h' }, ['summary', '--idle', '2h', '--max-chars', '24000']],
  ['summary', { max_chars: 50 }, ['summary', '--max-chars', '50']],
  ['status', {}, ['status', '--json']],
  ['support_context', {}, ['support-context']],
];

async function exerciseClient(clientKind, recorder, empty, expectedDays) {
  currentClient = clientKind.name;
  const { client, errors } = await clientKind.connect(recorder.env);

  const server = client.getServerVersion();
  check(server?.name === 'varnholt-mcp' && server?.version === '0.6.6-beta', `serverInfo ${JSON.stringify(server)}`);
  check(JSON.stringify(client.getServerCapabilities()) ===
    '{"completions":{},"prompts":{"listChanged":false},"resources":{"subscribe":false,"listChanged":false},"tools":{"listChanged":false}}',
  `capabilities ${JSON.stringify(client.getServerCapabilities())}`);
  check(typeof client.getInstructions() === 'string', 'instructions');
  if (clientKind.stateless) {
    check(client.getProtocolEra() === 'modern' && client.getNegotiatedProtocolVersion() === '2026-07-28',
      `era ${client.getProtocolEra()} ${client.getNegotiatedProtocolVersion()}`);
  } else {
    await client.ping();
  }

  const { tools } = await client.listTools();
  check(tools.map((t) => t.name).join(' ') === 'timeline search entities summary timesheet status support_context',
    `tools ${tools.map((t) => t.name)}`);
  // Strict Ajv refuses unknown keywords and loose types, so the schemas say
  // exactly what they mean to every validator.
  const ajv = new Ajv({ strict: true, allErrors: true });
  const inputValidators = {};
  for (const tool of tools) {
    check(tool.annotations?.readOnlyHint === true && typeof tool.title === 'string', `${tool.name}: title and annotations`);
    check(tool.outputSchema?.type === 'object', `${tool.name}: output schema`);
    try {
      inputValidators[tool.name] = ajv.compile(tool.inputSchema);
      ajv.compile(tool.outputSchema);
    } catch (error) {
      check(false, `${tool.name}: schema does not compile strictly: ${error.message}`);
    }
  }

  for (const [tool, args, commandLine] of kCalls) {
    await compareWithCommandLine(client, recorder.env, tool, args, commandLine);
  }
  // A client that does not show MCP Apps sees nothing of the time view.
  check(tools.every((tool) => tool._meta === undefined), 'no tool links to a view without the extension');
  // Every call above that the command line answers is also valid input by
  // the tool's schema, except the limits beyond the schema's maximum that
  // both front ends clamp.
  const clamped = (tool, args) => (tool === 'search' && args.limit > 200) || (tool === 'entities' && args.limit > 500);
  for (const [tool, args, commandLine] of kCalls) {
    if (run(queryBinary, commandLine, recorder.env).status === 0 && !clamped(tool, args)) {
      check(inputValidators[tool]?.(args) === true, `${tool} ${JSON.stringify(args)}: refused by its input schema`);
    }
  }

  // What only a tool call can say.
  // Texts that look like flags are texts: the application filter is used
  // as given, and the keyword reaches the search (which may still find its
  // syntax wanting) instead of being taken for a flag.
  const flagLikeApp = await client.callTool({ name: 'search', arguments: { keyword: 'tests', app: '--json' } });
  check(flagLikeApp.isError === false && flagLikeApp.structuredContent.meta.query.app_filter === '--json' &&
    flagLikeApp.structuredContent.data.results.length === 0, 'search within an application named like a flag');
  const flagLikeKeyword = await client.callTool({ name: 'search', arguments: { keyword: '--help' } });
  const answered = flagLikeKeyword.structuredContent;
  check(flagLikeKeyword.isError ? !/Missing keyword|Unknown flag/.test(answered.error.message)
    : answered.meta.query.keyword === '--help', `search for a keyword that looks like a flag: ${JSON.stringify(answered)}`);
  await expectToolError(client, 'timeline', { preset: 'today', since: '2h' }, 'INVALID_TIME_RANGE',
    'Use only one of preset, since, or from and to.');
  await expectToolError(client, 'timeline', { preset: 'range' }, 'INVALID_TIME_RANGE', "Unknown preset 'range'.");
  await expectToolError(client, 'search', { keyword: 'x', query: 'y' }, 'UNKNOWN_ERROR',
    "Unknown argument 'query'. Arguments: all_words, app, collapse, compact, from, images, keyword, latest, limit, since, to.");
  await expectToolError(client, 'search', { keyword: 5 }, 'UNKNOWN_ERROR', "Argument 'keyword' must be a string.");
  await expectToolError(client, 'entities', { limit: '5' }, 'UNKNOWN_ERROR', "Argument 'limit' must be an integer.");
  await expectToolError(client, 'status', { verbose: true }, 'UNKNOWN_ERROR', "Unknown argument 'verbose'. Arguments: none.");
  const tenDays = await client.callTool({ name: 'summary', arguments: { since: '10d' } });
  check(tenDays.structuredContent?.meta?.truncated === true && tenDays.content[0].text.length <= 24000,
    `summary of ten days within the default budget: ${tenDays.content[0].text.length} characters`);
  await expectProtocolError(client.callTool({ name: 'frobnicate', arguments: {} }), -32602, 'unknown tool');

  // Resources and templates.
  const { resources } = await client.listResources();
  check(JSON.stringify(resources.map((r) => r.uri)) === JSON.stringify(kResources.map(([uri]) => uri)),
    `resources ${resources.map((r) => r.uri)}`);
  for (const resource of resources) {
    check(resource.mimeType === 'application/json' && typeof resource.title === 'string', `${resource.uri}: type and title`);
  }
  for (const [uri, commandLine] of kResources) await compareResource(client, recorder.env, uri, commandLine);
  const { resourceTemplates } = await client.listResourceTemplates();
  check(JSON.stringify(resourceTemplates.map((t) => t.uriTemplate)) === JSON.stringify(kDayTemplates.map(([t]) => t)),
    `templates ${resourceTemplates.map((t) => t.uriTemplate)}`);
  for (const [uriTemplate, commandLineFor] of kDayTemplates) {
    const { completion } = await client.complete({ ref: { type: 'ref/resource', uri: uriTemplate },
      argument: { name: 'date', value: '' } });
    check(JSON.stringify(completion.values) === JSON.stringify(expectedDays.slice(0, 10)),
      `${uriTemplate}: completes ${completion.values}, want ${expectedDays}`);
    const narrowed = await client.complete({ ref: { type: 'ref/resource', uri: uriTemplate },
      argument: { name: 'date', value: expectedDays[1].slice(0, 9) } });
    check(narrowed.completion.values.includes(expectedDays[1]) &&
      narrowed.completion.values.every((day) => day.startsWith(expectedDays[1].slice(0, 9))), `${uriTemplate}: narrowed completion`);
    for (const day of [...completion.values.slice(0, 2), '2026-02-01']) {
      await compareResource(client, recorder.env, uriTemplate.replace('{date}', day), commandLineFor(day));
    }
  }
  // An unknown resource is the revision's error: -32002 before the stateless
  // revision, invalid params in it.
  await expectProtocolError(client.readResource({ uri: 'varnholt://nothing' }), clientKind.stateless ? -32602 : -32002,
    'unknown resource');
  await expectProtocolError(client.readResource({ uri: 'varnholt://timeline/day/2026-02-30' }), -32602, 'malformed date');

  // Prompts.
  const { prompts } = await client.listPrompts();
  check(JSON.stringify(prompts.map((p) => p.name)) === JSON.stringify([...new Set(kPrompts.map(([name]) => name))]),
    `prompts ${prompts.map((p) => p.name)}`);
  for (const [name, args, commandLines] of kPrompts) await comparePrompt(client, recorder.env, name, args, commandLines);
  await expectProtocolError(client.getPrompt({ name: 'nope', arguments: {} }), -32602, 'unknown prompt');
  await expectProtocolError(client.getPrompt({ name: 'what-was-i-doing', arguments: {} }), -32602, 'missing argument');
  const weekStarts = await client.complete({ ref: { type: 'ref/prompt', name: 'timesheet' },
    argument: { name: 'week_start', value: '' } });
  check(JSON.stringify(weekStarts.completion.values) === JSON.stringify(expectedDays.slice(0, 10)),
    `timesheet week_start completes ${weekStarts.completion.values}`);

  if (!clientKind.stateless) {
    await expectProtocolError(client.request({ method: 'resources/subscribe', params: { uri: 'varnholt://status' } },
      EmptyResultSchema), -32601, 'resources/subscribe');
  }
  await client.close();
  check(errors() === '', `the server wrote to standard error: ${errors()}`);

  // Without a database every tool fails as the command line does, and so do
  // the resources.
  const { client: second } = await clientKind.connect(empty.env);
  await second.listTools();
  for (const [tool, args, commandLine] of [
    ['timeline', { preset: 'last-active-day' }, ['last-active-day']],
    ['search', { keyword: 'tests' }, ['search', 'tests']],
    ['entities', {}, ['entities']],
    ['summary', {}, ['summary', '--max-chars', '24000']],
    ['status', {}, ['status', '--json']],
    ['support_context', {}, ['support-context']],
  ]) {
    const result = await compareWithCommandLine(second, empty.env, tool, args, commandLine);
    check(result?.structuredContent?.error?.code === 'DB_NOT_FOUND', `${tool} without a database`);
  }
  await compareResource(second, empty.env, 'varnholt://status', ['status', '--json']);
  await second.close();
}

// A client that announces the MCP Apps extension: the time view is listed
// and read, the summary tool links to it, the server names the extension
// back, and every answer is what the client without it got.
async function exerciseAppsExtension(clientKind, recorder) {
  currentClient = `${clientKind.name}, showing MCP Apps`;
  const { client, errors } = await clientKind.connect(recorder.env, kAppsCapabilities);
  check(JSON.stringify(client.getServerCapabilities()?.extensions) === '{"io.modelcontextprotocol/ui":{}}',
    `capabilities ${JSON.stringify(client.getServerCapabilities())}`);

  const { resources } = await client.listResources();
  const view = resources.at(-1);
  check(JSON.stringify(resources.slice(0, -1).map((r) => r.uri)) === JSON.stringify(kResources.map(([uri]) => uri)),
    `resources ${resources.map((r) => r.uri)}`);
  check(/^ui:\/\/varnholt\/time-view-[0-9a-f]{16}\.html$/.test(view?.uri ?? '') && view.mimeType === 'text/html;profile=mcp-app' &&
    view._meta?.ui?.prefersBorder === true, `the view's entry ${JSON.stringify(view)}`);

  const { tools } = await client.listTools();
  for (const tool of tools) {
    if (tool.name === 'summary' || tool.name === 'timesheet') {
      check(tool._meta?.ui?.resourceUri === view?.uri && tool._meta?.['ui/resourceUri'] === view?.uri,
        `${tool.name} links to the view: ${JSON.stringify(tool._meta)}`);
    } else {
      check(tool._meta === undefined, `${tool.name} links to nothing: ${JSON.stringify(tool._meta)}`);
    }
  }

  const read = await client.readResource({ uri: view.uri });
  const [content] = read.contents;
  check(read.contents.length === 1 && content.mimeType === 'text/html;profile=mcp-app' && content._meta?.ui?.prefersBorder === true,
    `the view's contents ${JSON.stringify({ ...content, text: undefined })}`);
  // The view is the page of --format html without an answer in it.
  const page = run(queryBinary, ['summary', '--format', 'html'], recorder.env).stdout;
  const element = '<script type="application/json" id="varnholt-answer">';
  const inside = page.indexOf(element) + element.length;
  check(page.slice(0, inside) + page.slice(page.indexOf('</script>', inside)) === content.text,
    'the served view is the command line\'s page without its answer');

  // The answers are the same as for every client.
  for (const [tool, args, commandLine] of kCalls.filter(([name]) => name === 'summary').slice(0, 3)) {
    await compareWithCommandLine(client, recorder.env, tool, args, commandLine);
  }
  await compareResource(client, recorder.env, 'varnholt://summary/today', ['summary', '--max-chars', '24000']);
  await client.close();
  check(errors() === '', `the server wrote to standard error: ${errors()}`);

  // Without it, on the same server binary, the view is not there to read.
  currentClient = clientKind.name;
  const { client: plain } = await clientKind.connect(recorder.env);
  await expectProtocolError(plain.readResource({ uri: view.uri }), clientKind.stateless ? -32602 : -32002,
    'the view without the extension');
  const plainTools = (await plain.listTools()).tools;
  check(JSON.stringify(plainTools) === JSON.stringify(tools.map(({ _meta, ...rest }) => rest)),
    'the tools are the same but for the links');
  await plain.close();
}

async function main() {
  const recorder = makeHome('recorder');
  const empty = makeHome('empty');
  try {
    furnish(recorder);
    const expectedDays = activeDays(recorder.env);
    if (expectedDays.length < 5) throw new Error(`too few days with activity: ${expectedDays}`);
    for (const clientKind of kClients) {
      try {
        await exerciseClient(clientKind, recorder, empty, expectedDays);
        await exerciseAppsExtension(clientKind, recorder);
      } catch (error) {
        check(false, `stopped: ${error.stack ?? error}`);
      }
    }
  } finally {
    fs.rmSync(recorder.home, { recursive: true, force: true });
    fs.rmSync(empty.home, { recursive: true, force: true });
  }
  console.log(`${checks} checks, ${failures} failed`);
  process.exit(failures === 0 ? 0 : 1);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});

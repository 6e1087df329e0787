// Shared setup of the protocol tests: the adapter under test, started by
// DebugClient (a client written by others), and small waits.
'use strict';
const path = require('node:path');
const { DebugClient } = require('@vscode/debugadapter-testsupport');

const ADAPTER = process.env.VELMOR_DAP ||
  path.resolve(__dirname, '../../build/native/bin/velmor-slang-dap');
const SCRIPTS = path.join(__dirname, 'scripts');

function script(name) {
  return path.join(SCRIPTS, name);
}

// A client on the adapter's stdin and stdout ("--stdio" is the argument
// DebugClient passes after the program).
async function startClient(options = {}) {
  const dc = new DebugClient(ADAPTER, '--stdio', 'slang', { cwd: options.cwd || SCRIPTS });
  dc.defaultTimeout = options.timeout || 5000;
  const outputs = [];
  dc.on('output', (e) => outputs.push(e.body));
  // exited and terminated come together: a wait for the second one,
  // started after the first arrived, would miss it.
  dc.seen = {};
  for (const name of ['exited', 'terminated', 'continued', 'initialized'])
    dc.on(name, (e) => { dc.seen[name] = e; });
  dc.ended = async () => dc.seen.terminated || dc.waitForEvent('terminated');
  await dc.start();
  dc.outputs = outputs;
  dc.outputText = (category) =>
    outputs.filter((o) => !category || o.category === category).map((o) => o.output).join('');
  return dc;
}

// initialize, launch, breakpoints, configurationDone; resolves with the
// first stopped event (or null when waitFor is 'terminated').
async function launchTo(dc, launchArgs, breakpoints = {}, waitFor = 'stopped', exceptionFilters = null) {
  await dc.initializeRequest({ adapterID: 'slang', linesStartAt1: true, columnsStartAt1: true, pathFormat: 'path' });
  await dc.launchRequest(launchArgs);
  const verified = {};
  for (const [file, lines] of Object.entries(breakpoints)) {
    const r = await dc.setBreakpointsRequest({
      source: { path: file },
      breakpoints: lines.map((l) => (typeof l === 'number' ? { line: l } : l)),
    });
    verified[file] = r.body.breakpoints;
  }
  if (exceptionFilters)
    await dc.setExceptionBreakpointsRequest({ filters: exceptionFilters });
  const [ev] = await Promise.all([dc.waitForEvent(waitFor), dc.configurationDoneRequest()]);
  ev.verified = verified;
  return ev;
}

// Sends a request that resumes and waits for the event that follows.
async function resumeTo(dc, request, waitFor = 'stopped') {
  const [ev] = await Promise.all([dc.waitForEvent(waitFor), request]);
  return ev;
}

async function frames(dc) {
  const r = await dc.stackTraceRequest({ threadId: 1 });
  return r.body.stackFrames;
}

async function where(dc) {
  return (await frames(dc)).map((f) => `${f.name}:${f.line}`);
}

// The variables of a reference as name -> variable.
async function vars(dc, ref, extra = {}) {
  const r = await dc.variablesRequest({ variablesReference: ref, ...extra });
  const out = {};
  for (const v of r.body.variables) out[v.name] = v;
  out.$list = r.body.variables;
  return out;
}

async function scopes(dc, frameId) {
  const r = await dc.scopesRequest({ frameId });
  const out = {};
  for (const s of r.body.scopes) out[s.name] = s;
  return out;
}

async function expectError(promise, pattern) {
  let failed = false;
  try {
    await promise;
  } catch (e) {
    failed = true;
    if (pattern && !pattern.test(e.message))
      throw new Error(`error message "${e.message}" does not match ${pattern}`);
  }
  if (!failed) throw new Error('the request succeeded; an error response was expected');
}

module.exports = { ADAPTER, SCRIPTS, script, startClient, launchTo, resumeTo, frames, where, vars, scopes, expectError };

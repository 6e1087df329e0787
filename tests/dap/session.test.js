// Breakpoints, stepping, the stack, values and evaluation through DebugClient.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { script, startClient, launchTo, resumeTo, frames, where, vars, scopes } = require('./helpers');

test('initialize answers the capabilities the adapter has', async () => {
  const dc = await startClient();
  try {
    const r = await dc.initializeRequest({ adapterID: 'slang' });
    const c = r.body;
    for (const k of ['supportsConfigurationDoneRequest', 'supportsConditionalBreakpoints',
      'supportsHitConditionalBreakpoints', 'supportsLogPoints', 'supportsEvaluateForHovers',
      'supportsSetVariable', 'supportsExceptionInfoRequest', 'supportsTerminateRequest'])
      assert.equal(c[k], true, k);
    assert.equal(c.supportsStepBack, false);
    assert.equal(c.supportsFunctionBreakpoints, false);
    assert.deepEqual(c.exceptionBreakpointFilters.map((f) => [f.filter, f.default]), [['uncaught', true], ['all', false]]);
  } finally {
    await dc.stop();
  }
});

test('breakpoints: verified where they stop, in functions, in loaded files and slsh libraries', async () => {
  const dc = await startClient();
  try {
    const calls = script('calls.sl');
    const lib = script('lib.sl');
    const setfuns = '/usr/share/slsh/setfuns.sl';
    const ev = await launchTo(dc, { program: calls }, {
      [calls]: [9, 6, 200, 1],
      [lib]: [4],
      [setfuns]: [53],
    });
    // Line 6 is blank and 7 a function's header: the breakpoint moves to 9.
    const cb = ev.verified[calls];
    assert.deepEqual(cb.map((b) => [b.verified, b.line]), [[true, 9], [true, 9], [false, undefined], [true, 3]]);
    assert.match(cb[2].message, /outside the file/);
    assert.equal(ev.verified[lib][0].line, 4);
    // Line 1 is a comment: the first stop is the top-level statement on line 3.
    assert.equal(ev.body.reason, 'breakpoint');
    assert.deepEqual(await where(dc), ['<top-level>:3']);
    let e = await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    assert.equal(e.body.reason, 'breakpoint');
    const f = await frames(dc);
    assert.deepEqual(f.map((x) => `${x.name}:${x.line}`), ['leaf:9', 'middle:16', 'top:23', '<top-level>:28']);
    assert.equal(f[0].source.path, calls);
    // The evalfile'd file.
    e = await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    assert.deepEqual((await where(dc)).slice(0, 2), ['scale:4', 'middle:17']);
    assert.equal((await frames(dc))[0].source.path, lib);
    // Both calls of top stop, then slsh's own setfuns.sl.
    e = await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    assert.equal((await where(dc))[0], 'leaf:9');
    const top = await vars(dc, (await scopes(dc, 1)).Locals.variablesReference);
    assert.equal(top.x.value, '2');
    await dc.setBreakpointsRequest({ source: { path: lib }, breakpoints: [] });
    e = await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    const s = await frames(dc);
    assert.equal(s[0].source.path, setfuns);
    assert.equal(s[0].name, 'unique');
    assert.equal(s[0].line, 53);
    await dc.setBreakpointsRequest({ source: { path: setfuns }, breakpoints: [] });
    await dc.setBreakpointsRequest({ source: { path: calls }, breakpoints: [] });
    const ex = await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'exited');
    assert.equal(ex.body.exitCode, 0);
    assert.match(dc.outputText('stdout'), /first=23 second=45 unique=3/);
  } finally {
    await dc.stop();
  }
});

test('conditions, hit conditions and log points', async () => {
  const dc = await startClient();
  try {
    const calls = script('calls.sl');
    const ev = await launchTo(dc, { program: calls }, {
      [calls]: [{ line: 9, condition: 'x == 2' }, { line: 16, hitCondition: '2' },
        { line: 23, logMessage: 'top gets {n}, {n * 100} and {{braces}}' }],
    });
    const bps = ev.verified[calls];
    assert.ok(bps.every((b) => b.verified));
    // Hit count 2 of line 16 comes first (the second call of middle)...
    assert.deepEqual((await where(dc)).slice(0, 2), ['middle:16', 'top:23']);
    assert.equal((await vars(dc, (await scopes(dc, 1)).Locals.variablesReference)).x.value, '2');
    // ...then leaf with x == 2.
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    assert.equal((await where(dc))[0], 'leaf:9');
    assert.equal((await vars(dc, (await scopes(dc, 1)).Locals.variablesReference)).x.value, '2');
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'terminated');
    const logs = dc.outputs.filter((o) => o.category === 'console').map((o) => o.output);
    assert.deepEqual(logs, ['top gets 1, 100 and {braces}\n', 'top gets 2, 200 and {braces}\n']);
  } finally {
    await dc.stop();
  }
  // A hit condition that is no count is refused with its reason.
  const dc2 = await startClient();
  try {
    await dc2.initializeRequest({ adapterID: 'slang' });
    const r = await dc2.setBreakpointsRequest({ source: { path: script('calls.sl') }, breakpoints: [{ line: 9, hitCondition: 'often' }] });
    assert.equal(r.body.breakpoints[0].verified, false);
    assert.match(r.body.breakpoints[0].message, /not a count/);
    const m = await dc2.setBreakpointsRequest({ source: { path: script('missing.sl') }, breakpoints: [{ line: 1 }] });
    assert.match(m.body.breakpoints[0].message, /cannot read/);
  } finally {
    await dc2.stop();
  }
});

test('stepping: over a call (breakpoints inside still stop), into it, out to the caller', async () => {
  const dc = await startClient();
  try {
    const calls = script('calls.sl');
    await launchTo(dc, { program: calls }, { [calls]: [23] });
    assert.deepEqual(await where(dc), ['top:23', '<top-level>:28']);
    // Step over runs middle (and leaf) whole.
    let e = await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.equal(e.body.reason, 'step');
    assert.deepEqual(await where(dc), ['top:24', '<top-level>:28']);
    // Step over the return: the caller's next statement.
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['<top-level>:29']);
    // Into top (the breakpoint on its first line stops as a breakpoint).
    e = await resumeTo(dc, dc.stepInRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['top:23', '<top-level>:29']);
    e = await resumeTo(dc, dc.stepInRequest({ threadId: 1 }));
    assert.equal(e.body.reason, 'step');
    assert.deepEqual(await where(dc), ['middle:16', 'top:23', '<top-level>:29']);
    // A breakpoint inside a call that is stepped over still stops.
    await dc.setBreakpointsRequest({ source: { path: calls }, breakpoints: [{ line: 10 }] });
    e = await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.equal(e.body.reason, 'breakpoint');
    assert.deepEqual(await where(dc), ['leaf:10', 'middle:16', 'top:23', '<top-level>:29']);
    // Out of leaf: middle's next line; out of middle: back in top.
    await dc.setBreakpointsRequest({ source: { path: calls }, breakpoints: [] });
    e = await resumeTo(dc, dc.stepOutRequest({ threadId: 1 }));
    assert.equal(e.body.reason, 'step');
    assert.deepEqual(await where(dc), ['middle:17', 'top:23', '<top-level>:29']);
    await resumeTo(dc, dc.stepOutRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['top:24', '<top-level>:29']);
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'terminated');
  } finally {
    await dc.stop();
  }
  // Stepping over a line that loads files (evalfile, require) does not stop
  // in the files' code, which runs at the same call depth.
  const dc2 = await startClient();
  try {
    const ev = await launchTo(dc2, { program: script('calls.sl'), stopOnEntry: true });
    assert.equal(ev.body.reason, 'entry');
    assert.deepEqual(await where(dc2), ['<top-level>:3']);
    await resumeTo(dc2, dc2.nextRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc2), ['<top-level>:4']);
    await resumeTo(dc2, dc2.nextRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc2), ['<top-level>:5']);
  } finally {
    await dc2.stop();
  }
});

test('a breakpoint set while a long loop runs in a function stops there', async () => {
  const dc = await startClient();
  try {
    const spin = script('spin.sl');
    await dc.initializeRequest({ adapterID: 'slang' });
    await dc.launchRequest({ program: spin });
    // A breakpoint elsewhere in the file: none in spin's lines.
    await dc.setBreakpointsRequest({ source: { path: spin }, breakpoints: [{ line: 4 }] });
    await dc.configurationDoneRequest();
    await new Promise((r) => setTimeout(r, 300));
    const [ev, set] = await Promise.all([dc.waitForEvent('stopped'),
      dc.setBreakpointsRequest({ source: { path: spin }, breakpoints: [{ line: 4 }, { line: 12 }] })]);
    assert.deepEqual(set.body.breakpoints.map((b) => b.line), [4, 12]);
    assert.equal(ev.body.reason, 'breakpoint');
    const w = await where(dc);
    assert.equal(w.length, 2);
    assert.equal(w[0], 'spin:12');
    const i = Number((await vars(dc, (await scopes(dc, 1)).Locals.variablesReference)).i.value);
    assert.ok(i > 1000, `the loop ran a while first (i = ${i})`);
    // And again on the next pass.
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    const j = Number((await vars(dc, (await scopes(dc, 1)).Locals.variablesReference)).i.value);
    assert.equal(j, i + 1);
    await dc.terminateRequest();
    await dc.ended();
  } finally {
    await dc.stop();
  }
});

test('stepping in a recursive function keeps to its own call', async () => {
  const dc = await startClient();
  try {
    const fact = script('fact.sl');
    await launchTo(dc, { program: fact }, { [fact]: [{ line: 4, condition: 'n == 3' }] });
    assert.deepEqual(await where(dc), ['fact:4', 'fact:6', '<top-level>:9']);
    await dc.setBreakpointsRequest({ source: { path: fact }, breakpoints: [] });
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['fact:6', 'fact:6', '<top-level>:9']);
    // Over the recursive call: fact (2) and fact (1) run whole.
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['fact:7', 'fact:6', '<top-level>:9']);
    let r = await dc.evaluateRequest({ expression: 'below', frameId: 1, context: 'watch' });
    assert.equal(r.body.result, '2');
    // Out: fact (4) goes on, below still 1 there until fact (3) returns.
    await resumeTo(dc, dc.stepOutRequest({ threadId: 1 }));
    assert.deepEqual(await where(dc), ['fact:7', '<top-level>:9']);
    r = await dc.evaluateRequest({ expression: 'below', frameId: 1, context: 'watch' });
    assert.equal(r.body.result, '6');
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'terminated');
    assert.match(dc.outputText('stdout'), /fact \(4\) = 24/);
  } finally {
    await dc.stop();
  }
});

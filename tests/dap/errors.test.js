// Errors and ends of the script: exception stops, syntax errors, output,
// exit codes, stopOnEntry, pause, terminate, runaway recursion.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { SCRIPTS, script, startClient, launchTo, resumeTo, where, vars, scopes, expectError } = require('./helpers');

test('an uncaught error stops where it was raised, with its frames and locals; exceptionInfo tells it', async () => {
  const dc = await startClient();
  try {
    const ev = await launchTo(dc, { program: script('errors.sl') });
    assert.equal(ev.body.reason, 'exception');
    assert.equal(ev.body.text, 'IndexError: Invalid Index');
    // The caught error of careful() did not stop.
    assert.deepEqual(await where(dc), ['fetch:17', '<top-level>:22']);
    assert.equal((await vars(dc, (await scopes(dc, 1)).Locals.variablesReference)).where.value, '"fetch"');
    const info = await dc.exceptionInfoRequest({ threadId: 1 });
    assert.equal(info.body.breakMode, 'unhandled');
    assert.equal(info.body.exceptionId, 'IndexError');
    assert.match(info.body.description, /errors\.sl:17/);
    assert.equal(info.body.details.line, 17);
    // The script has ended: it cannot be stepped, only continued to its end.
    await expectError(dc.nextRequest({ threadId: 1 }), /ended with an error/);
    const ex = await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'exited');
    assert.equal(ex.body.exitCode, 1);
    const err = dc.outputs.find((o) => o.category === 'stderr' && /Invalid Index/.test(o.output) && o.line);
    assert.ok(err, 'the error is printed with its line');
    assert.equal(err.line, 17);
    assert.match(dc.outputText('stdout'), /before the error/);
    assert.doesNotMatch(dc.outputText('stdout'), /never printed/);
  } finally {
    await dc.stop();
  }
});

test('the "all" filter stops at caught errors too, while the script runs', async () => {
  const dc = await startClient();
  try {
    const ev = await launchTo(dc, { program: script('errors.sl') }, {}, 'stopped', ['all']);
    assert.equal(ev.body.reason, 'exception');
    assert.deepEqual(await where(dc), ['careful:8', '<top-level>:20']);
    const info = await dc.exceptionInfoRequest({ threadId: 1 });
    assert.equal(info.body.breakMode, 'always');
    assert.match(info.body.details.message, /handled here/);
    assert.equal(info.body.exceptionId, 'RunTimeError');
    // Stepping from a caught error goes on in the catch.
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    assert.equal((await where(dc))[0], 'careful:10'); // the catch clause
    const second = await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    assert.equal(second.body.reason, 'exception');
    assert.deepEqual(await where(dc), ['fetch:17', '<top-level>:22']);
    const ex = await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'exited');
    assert.equal(ex.body.exitCode, 1);
  } finally {
    await dc.stop();
  }
  // With no filter the script just ends.
  const dc2 = await startClient();
  try {
    const ex = await launchTo(dc2, { program: script('errors.sl') }, {}, 'exited', []);
    assert.equal(ex.body.exitCode, 1);
  } finally {
    await dc2.stop();
  }
});

test('a syntax error is reported with its file and line and the session ends', async () => {
  const dc = await startClient();
  try {
    const ex = await launchTo(dc, { program: script('syntax.sl') }, {}, 'exited');
    assert.equal(ex.body.exitCode, 1);
    const err = dc.outputs.filter((o) => o.category === 'stderr' && o.line);
    assert.ok(err.length > 0);
    assert.ok(err.every((e) => e.line === 2 && e.source.path === script('syntax.sl')));
    assert.match(dc.outputText('stderr'), /syntax\.sl:2:<top-level>:Syntax Error/);
    await dc.ended();
  } finally {
    await dc.stop();
  }
});

test('output: message, vmessage, print and fprintf arrive as output events; args, cwd, exit codes', async () => {
  const dc = await startClient({ cwd: '/' });
  try {
    const ex = await launchTo(dc, { program: script('output.sl'), args: ['one', 'two words'], cwd: SCRIPTS }, {}, 'exited');
    assert.equal(ex.body.exitCode, 0);
    const out = dc.outputText('stdout');
    for (const line of ['from message', 'from vmessage 42', '"from print"', 'from fprintf stdout', 'args: one,two words', `cwd: ${SCRIPTS}/`])
      assert.ok(out.includes(line + '\n'), line);
    assert.equal(dc.outputText('stderr'), 'from fprintf stderr\n');
  } finally {
    await dc.stop();
  }
  // One of slsh's own programs, run as the program: its usage and exit (1).
  const dc2 = await startClient();
  try {
    const ex = await launchTo(dc2, { program: '/usr/share/slsh/scripts/jpegsize' }, {}, 'exited');
    assert.equal(ex.body.exitCode, 1);
    assert.match(dc2.outputText('stderr'), /Usage: jpegsize files/);
  } finally {
    await dc2.stop();
  }
});

test('stopOnEntry, pause in endless loops, terminate, runaway recursion', async () => {
  let dc = await startClient();
  try {
    const ev = await launchTo(dc, { program: script('forever.sl'), stopOnEntry: true });
    assert.equal(ev.body.reason, 'entry');
    assert.deepEqual(await where(dc), ['<top-level>:1']);
    // pause while stopped is answered and changes nothing.
    await dc.pauseRequest({ threadId: 1 });
    assert.deepEqual(await where(dc), ['<top-level>:1']);
  } finally {
    await dc.stop();
  }
  for (const name of ['forever.sl', 'empty_loop.sl']) {
    dc = await startClient();
    try {
      await dc.initializeRequest({ adapterID: 'slang' });
      await dc.launchRequest({ program: script(name) });
      await dc.configurationDoneRequest();
      await new Promise((r) => setTimeout(r, 200));
      // Stepping requests need a stopped script.
      await expectError(dc.nextRequest({ threadId: 1 }), /needs the script to be stopped; it is running/);
      await expectError(dc.stackTraceRequest({ threadId: 1 }), /running/);
      const ev = await resumeTo(dc, dc.pauseRequest({ threadId: 1 }));
      assert.equal(ev.body.reason, 'pause');
      // In the loop: its test (line 2) or, for forever.sl, its body (line 4).
      assert.ok(['<top-level>:2', '<top-level>:4'].includes((await where(dc))[0]));
      if (name === 'forever.sl') {
        const g = await vars(dc, (await scopes(dc, 1)).Globals.variablesReference);
        assert.ok(Number(g.spins.value) > 0);
      }
      await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'continued');
      // terminate ends the running script; the session reports its end.
      const [ex] = await Promise.all([dc.waitForEvent('exited'), dc.terminateRequest()]);
      assert.equal(ex.body.exitCode, 1);
      await dc.ended();
    } finally {
      await dc.stop();
    }
  }
  dc = await startClient();
  try {
    const ev = await launchTo(dc, { program: script('recurse.sl') });
    assert.equal(ev.body.reason, 'exception');
    const st = await dc.stackTraceRequest({ threadId: 1, startFrame: 0, levels: 5 });
    assert.equal(st.body.stackFrames.length, 5);
    assert.ok(st.body.totalFrames > 100);
    assert.equal(st.body.stackFrames[0].name, 'down');
    const ex = await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'exited');
    assert.equal(ex.body.exitCode, 1);
  } finally {
    await dc.stop();
  }
});

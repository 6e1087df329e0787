// The base protocol and the program: bad input of every kind answered
// with error responses while the adapter keeps working, requests in the
// wrong state, the TCP modes, --help, and a client that goes away.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const cp = require('node:child_process');
const net = require('node:net');
const fs = require('node:fs');
const { DebugClient } = require('@vscode/debugadapter-testsupport');
const { ADAPTER, script, startClient, launchTo, where, expectError } = require('./helpers');

// A raw client: writes bytes, reads framed messages.
function rawClient(stream, out = stream) {
  let buf = Buffer.alloc(0);
  const messages = [];
  const waiters = [];
  stream.on('data', (d) => {
    buf = Buffer.concat([buf, d]);
    for (;;) {
      const end = buf.indexOf('\r\n\r\n');
      if (end < 0) break;
      const len = Number(/Content-Length: (\d+)/.exec(buf.subarray(0, end).toString())[1]);
      if (buf.length < end + 4 + len) break;
      messages.push(JSON.parse(buf.subarray(end + 4, end + 4 + len).toString()));
      buf = buf.subarray(end + 4 + len);
    }
    for (const w of waiters.splice(0)) w();
  });
  const frame = (obj) => {
    const body = Buffer.from(typeof obj === 'string' ? obj : JSON.stringify(obj));
    return Buffer.concat([Buffer.from(`Content-Length: ${body.length}\r\n\r\n`), body]);
  };
  return {
    messages,
    send: (obj) => out.write(frame(obj)),
    sendBytes: (b) => out.write(b),
    async next(pred, ms = 5000) {
      const deadline = Date.now() + ms;
      for (;;) {
        const i = messages.findIndex(pred);
        if (i >= 0) return messages.splice(i, 1)[0];
        if (Date.now() > deadline) throw new Error('no matching message');
        await new Promise((r) => { waiters.push(r); setTimeout(r, 50); });
      }
    },
  };
}

const response = (seq) => (m) => m.type === 'response' && m.request_seq === seq;

test('bad input gets error responses and the adapter keeps working', async () => {
  const p = cp.spawn(ADAPTER, [], { stdio: ['pipe', 'pipe', 'inherit'] });
  const c = rawClient(p.stdout, p.stdin);
  try {
    c.send('{"seq": 1, "type": "request", "command": "initialize", "argu');
    let r = await c.next(response(0));
    assert.equal(r.success, false);
    assert.match(r.message, /malformed JSON/);
    c.sendBytes('Content-Type: text/plain\r\n\r\n');
    r = await c.next(response(0));
    assert.match(r.message, /without Content-Length/);
    c.sendBytes('Content-Length: lots\r\n\r\n');
    r = await c.next(response(0));
    assert.match(r.message, /not a number/);
    c.sendBytes('Content-Length: 999999999999\r\n\r\n');
    r = await c.next(response(0));
    assert.match(r.message, /exceeds the limit/);
    c.send({ seq: 2, type: 'event', event: 'x' });
    assert.match((await c.next(response(2))).message, /not a request/);
    c.send([1, 2, 3]);
    assert.match((await c.next(response(0))).message, /not a request/);
    c.send({ seq: 3, type: 'request', command: 'threads' });
    assert.match((await c.next(response(3))).message, /before 'initialize'/);
    // After all that, a session works; a message split over writes too.
    const init = Buffer.from(JSON.stringify({ seq: 4, type: 'request', command: 'initialize', arguments: { adapterID: 'slang' } }));
    const whole = Buffer.concat([Buffer.from(`Content-Length: ${init.length}\r\n\r\n`), init]);
    c.sendBytes(whole.subarray(0, 10));
    await new Promise((r2) => setTimeout(r2, 50));
    c.sendBytes(whole.subarray(10));
    r = await c.next(response(4));
    assert.equal(r.success, true);
    assert.equal(r.body.supportsConfigurationDoneRequest, true);
    await c.next((m) => m.type === 'event' && m.event === 'initialized');
    c.send({ seq: 5, type: 'request', command: 'frobnicate' });
    assert.match((await c.next(response(5))).message, /unknown request 'frobnicate'/);
    c.send({ seq: 6, type: 'request', command: 'initialize' });
    assert.match((await c.next(response(6))).message, /already/);
    c.send({ seq: 7, type: 'request', command: 'setBreakpoints', arguments: { source: { path: script('basic.sl') }, breakpoints: [{ line: 'five' }] } });
    assert.match((await c.next(response(7))).message, /bad arguments/);
    c.send({ seq: 8, type: 'request', command: 'continue', arguments: { threadId: 1 } });
    assert.match((await c.next(response(8))).message, /needs the script to be stopped/);
    c.send({ seq: 9, type: 'request', command: 'attach', arguments: {} });
    assert.match((await c.next(response(9))).message, /use launch/);
    c.send({ seq: 10, type: 'request', command: 'disconnect', arguments: {} });
    assert.equal((await c.next(response(10))).success, true);
    const code = await new Promise((res) => p.on('exit', res));
    assert.equal(code, 0);
  } finally {
    p.kill();
  }
});

test('launch refuses missing, unreadable and wrong programs with a message', async () => {
  const unreadable = '/tmp/velmor-dap-unreadable.sl';
  fs.writeFileSync(unreadable, 'message ("x");\n');
  fs.chmodSync(unreadable, 0o000);
  const cases = [
    [{}, /needs 'program'/],
    [{ program: script('nothing-here.sl') }, /cannot find the program/],
    [{ program: '/tmp' }, /is not a file/],
    [{ program: script('basic.sl'), args: 'a b' }, /array of strings/],
    [{ program: script('basic.sl'), cwd: '/no/such/dir' }, /cannot change to the directory/],
  ];
  // root reads every file: the unreadable case only means something otherwise.
  if (process.getuid && process.getuid() !== 0) cases.push([{ program: unreadable }, /cannot read the program/]);
  for (const [args, pattern] of cases) {
    const dc = await startClient();
    try {
      await dc.initializeRequest({ adapterID: 'slang' });
      await expectError(dc.launchRequest(args), pattern);
      // The session is still there: a good launch goes on.
      await dc.launchRequest({ program: script('basic.sl') });
      const [ex] = await Promise.all([dc.waitForEvent('exited'), dc.configurationDoneRequest()]);
      assert.equal(ex.body.exitCode, 0);
    } finally {
      await dc.stop();
    }
  }
  fs.chmodSync(unreadable, 0o600);
  fs.unlinkSync(unreadable);
});

test('--port serves a DebugClient over TCP; --connect reaches a listening client; --help', async () => {
  const help = cp.spawnSync(ADAPTER, ['--help']);
  assert.equal(help.status, 0);
  assert.match(help.stdout.toString(), /--port N[\s\S]*--connect HOST:PORT/);
  assert.equal(cp.spawnSync(ADAPTER, ['--port', 'x']).status, 2);

  const p = cp.spawn(ADAPTER, ['--port', '0'], { stdio: ['ignore', 'ignore', 'pipe'] });
  try {
    const port = await new Promise((res, rej) => {
      let text = '';
      p.stderr.on('data', (d) => {
        text += d;
        const m = /listening on 127\.0\.0\.1:(\d+)/.exec(text);
        if (m) res(Number(m[1]));
      });
      p.on('exit', () => rej(new Error('adapter exited: ' + text)));
    });
    const dc = new DebugClient('unused', 'unused', 'slang');
    dc.defaultTimeout = 5000;
    await dc.start(port);
    const calls = script('calls.sl');
    await launchTo(dc, { program: calls }, { [calls]: [10] });
    assert.deepEqual((await where(dc)).slice(0, 2), ['leaf:10', 'middle:16']);
    await dc.disconnectRequest({ terminateDebuggee: true });
    await new Promise((res) => p.on('exit', res));
  } finally {
    p.kill();
  }

  // --connect: the client listens, the adapter calls.
  const server = net.createServer();
  await new Promise((res) => server.listen(0, '127.0.0.1', res));
  const q = cp.spawn(ADAPTER, ['--connect', `127.0.0.1:${server.address().port}`], { stdio: 'ignore' });
  try {
    const sock = await new Promise((res) => server.once('connection', res));
    const c = rawClient(sock);
    c.send({ seq: 1, type: 'request', command: 'initialize', arguments: { adapterID: 'slang' } });
    assert.equal((await c.next(response(1))).success, true);
    sock.end();
    // The client is gone: the adapter ends.
    assert.equal(await new Promise((res) => q.on('exit', res)), 0);
  } finally {
    q.kill();
    server.close();
  }
});

test('a client that disconnects mid-run ends the script and the adapter, nothing left behind', async () => {
  for (const how of ['disconnect', 'close']) {
    const p = cp.spawn(ADAPTER, [], { stdio: ['pipe', 'pipe', 'inherit'] });
    const c = rawClient(p.stdout, p.stdin);
    c.send({ seq: 1, type: 'request', command: 'initialize', arguments: { adapterID: 'slang' } });
    c.send({ seq: 2, type: 'request', command: 'launch', arguments: { program: script('forever.sl') } });
    c.send({ seq: 3, type: 'request', command: 'configurationDone' });
    await c.next(response(3));
    await new Promise((r) => setTimeout(r, 100));
    if (how === 'disconnect') {
      c.send({ seq: 4, type: 'request', command: 'disconnect', arguments: { terminateDebuggee: true } });
      assert.equal((await c.next(response(4))).success, true);
    } else {
      p.stdin.end();
    }
    const code = await Promise.race([
      new Promise((res) => p.on('exit', (c2) => res(c2))),
      new Promise((res) => setTimeout(() => res('still running'), 3000)),
    ]);
    assert.equal(code, 0, how);
    assert.throws(() => process.kill(p.pid, 0), /ESRCH/);
  }
});

// Scopes, variables with paging, lazy and bounded nesting, evaluate and
// setVariable through DebugClient.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { script, startClient, launchTo, resumeTo, vars, scopes, expectError } = require('./helpers');

test('variables: locals and globals, arrays by page, structures, lists, associative arrays', async () => {
  const dc = await startClient();
  try {
    const values = script('values.sl');
    await launchTo(dc, { program: values }, { [values]: [16] });
    const sc = await scopes(dc, 1);
    const locals = await vars(dc, sc.Locals.variablesReference);
    assert.deepEqual(locals.$list.map((v) => v.name), ['s', 'local_copy']);
    assert.equal(locals.s.value, 'struct {name, next}');
    const g = await vars(dc, sc.Globals.variablesReference);
    assert.equal(g.pi.value, '3.25');
    assert.equal(g.pi.type, 'Double_Type');
    // 100000 elements: the count is told, the elements come by page.
    assert.equal(g.big.value, 'Integer_Type[100000]');
    assert.equal(g.big.indexedVariables, 100000);
    const page = await vars(dc, g.big.variablesReference, { filter: 'indexed', start: 99990, count: 20 });
    assert.deepEqual(page.$list.map((v) => `${v.name}=${v.value}`),
      ['[99990]=99990', '[99991]=99991', '[99992]=99992', '[99993]=99993', '[99994]=99994',
        '[99995]=99995', '[99996]=99996', '[99997]=99997', '[99998]=99998', '[99999]=99999']);
    const first = await vars(dc, g.big.variablesReference, { start: 0, count: 100 });
    assert.equal(first.$list.length, 100);
    // Without a count one answer is bounded.
    const unbounded = await vars(dc, g.big.variablesReference);
    assert.equal(unbounded.$list.length, 1000);
    // A two-dimensional array pages by its elements in order.
    assert.equal(g.grid.value, 'Integer_Type[2,3]');
    assert.deepEqual((await vars(dc, g.grid.variablesReference)).$list.map((v) => v.value), ['1', '2', '3', '4', '5', '6']);
    // A structure that holds itself expands one level per request, forever.
    let node = g.self;
    for (let i = 0; i < 5; i++) {
      const f = await vars(dc, node.variablesReference);
      assert.equal(f.name.value, '"loop"');
      node = f.next;
      assert.ok(node.variablesReference > 0);
    }
    // Lists nest, associative arrays show their keys in order.
    const items = await vars(dc, g.items.variablesReference);
    assert.deepEqual(items.$list.map((v) => v.value), ['1', '"two"', 'List_Type[2]']);
    const inner = await vars(dc, items['[2]'].variablesReference);
    assert.equal(inner['[1]'].value, 'Integer_Type[2]');
    const ages = await vars(dc, g.ages.variablesReference);
    assert.deepEqual(ages.$list.map((v) => `${v.name}=${v.value}`), ['"ann"=31', '"bob"=42']);
    // Each value names the expression that gives it, and evaluating that
    // expression gives the value again.
    const named = [g.big, page['[99995]'], (await vars(dc, g.self.variablesReference)).next, ages['"bob"'], inner['[1]']];
    assert.deepEqual(named.map((v) => v.evaluateName), ['big', 'big[99995]', 'self.next', 'ages["bob"]', 'items[2][1]']);
    for (const v of named) {
      const r = await dc.evaluateRequest({ expression: v.evaluateName, frameId: 1, context: 'watch' });
      assert.equal(r.body.result, v.value, v.evaluateName);
    }
    assert.equal((await vars(dc, g.grid.variablesReference)).$list[0].evaluateName, undefined);
    // Long strings are cut.
    assert.ok(g.long_text.value.length < 1100 && g.long_text.value.endsWith('...'));
    // References die when the script resumes.
    const stale = g.big.variablesReference;
    await resumeTo(dc, dc.nextRequest({ threadId: 1 }));
    await expectError(dc.variablesRequest({ variablesReference: stale }), /no variables reference/);
    const ex = await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'exited');
    assert.equal(ex.body.exitCode, 3);
  } finally {
    await dc.stop();
  }
});

test('evaluate where the frame runs, and setVariable', async () => {
  const dc = await startClient();
  try {
    const calls = script('calls.sl');
    await launchTo(dc, { program: calls }, { [calls]: [17] });
    // Locals of the frame chosen, globals, and the script's functions.
    let r = await dc.evaluateRequest({ expression: 'a * 100 + x', frameId: 1, context: 'watch' });
    assert.equal(r.body.result, '201');
    r = await dc.evaluateRequest({ expression: 'n', frameId: 2, context: 'hover' });
    assert.equal(r.body.result, '1');
    r = await dc.evaluateRequest({ expression: 'leaf (21) + log_count', frameId: 1, context: 'repl' });
    assert.equal(r.body.result, '44'); // leaf counts its call first
    r = await dc.evaluateRequest({ expression: 'struct {p = [1, 2, 3]}', frameId: 1, context: 'repl' });
    assert.ok(r.body.variablesReference > 0);
    const p = await vars(dc, r.body.variablesReference);
    assert.equal(p.p.indexedVariables, 3);
    r = await dc.evaluateRequest({ expression: '1, 2', frameId: 1, context: 'repl' });
    assert.equal(r.body.result, '1, 2');
    await expectError(dc.evaluateRequest({ expression: 'no_such_name + 1', frameId: 1, context: 'repl' }), /undefined/i);
    await expectError(dc.evaluateRequest({ expression: 'x +', frameId: 1, context: 'repl' }), /.+/);
    await expectError(dc.evaluateRequest({ expression: 'while (1) {}', frameId: 1, context: 'repl' }), /longer than/);
    // Globals are written; locals cannot be (stock S-Lang has no way).
    const sc = await scopes(dc, 1);
    const set = await dc.setVariableRequest({ variablesReference: sc.Globals.variablesReference, name: 'log_count', value: '40 + 2' });
    assert.equal(set.body.value, '42');
    r = await dc.evaluateRequest({ expression: 'log_count', frameId: 1, context: 'watch' });
    assert.equal(r.body.result, '42');
    await expectError(dc.setVariableRequest({ variablesReference: sc.Locals.variablesReference, name: 'x', value: '5' }),
      /local variable/);
    // Fields and elements of values are written in place.
    r = await dc.evaluateRequest({ expression: 'struct {k = 1}', frameId: 1, context: 'repl' });
    await dc.setVariableRequest({ variablesReference: r.body.variablesReference, name: 'k', value: '"changed"' });
    assert.equal((await vars(dc, r.body.variablesReference)).k.value, '"changed"');
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }));
    await resumeTo(dc, dc.continueRequest({ threadId: 1 }), 'terminated');
    // log_count was 42 before the second call of leaf: the output says so.
    assert.match(dc.outputText('stdout'), /first=23 second=45/);
  } finally {
    await dc.stop();
  }
});

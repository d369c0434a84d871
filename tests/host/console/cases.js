// What console prints, case by case. This file runs unchanged under node and
// under tarn-run; compare.py checks that both print the same, section by
// section (a "### name" line on stdout and on stderr opens each case).
// A case given a reason after its code is run but not compared: its output
// differs from node's on purpose (docs/host.md, "The console").
'use strict';

const cases = [];
function add(name, fn, skip) {
  cases.push({ name, fn, skip });
}

// --- primitives -------------------------------------------------------------
add('texts bare at top level, quoted inside', () => {
  console.log('plain', 'two words');
  console.log(['a', "it's", 'say "hi"', 'both \'" and `', 'line\nbreak', 'tab\there']);
  console.log({ s: 'x', 'key with space': 'v', "it's": 1, __proto__x: 2 });
});
add('numbers', () => {
  console.log(1, -0, [-0], 0, NaN, Infinity, -Infinity, 1.5e300, 0.1 + 0.2, -5e-7);
});
add('bigint and symbols', () => {
  console.log(1n, [10n, -3n], Symbol('x'), [Symbol(), Symbol('d\nesc')], Symbol.iterator);
});
add('booleans, null, undefined', () => {
  console.log(true, false, null, undefined, [null, undefined, true]);
});
add('undefined inside arrays and objects', () => {
  console.log(undefined, [undefined], { a: undefined });
});
add('empty line', () => {
  console.log();
});
add('control characters and lone surrogates', () => {
  console.log(['\x00\x1b\x7f\x9f', '\ud800x', 'ok\u00e9', 'back\\slash']);
});

// --- arrays -------------------------------------------------------------------
add('holes', () => {
  console.log([1, , 3], new Array(5), [, , 1, , ,]);
  const far = [];
  far[1000] = 1;
  console.log(far);
});
add('array with extra keys', () => {
  const a = [1, 2];
  a.extra = 'x';
  a[-1] = 'neg';
  console.log(a);
});
add('more than 100 items', () => {
  console.log(Array.from({ length: 101 }, (_, i) => i));
  console.log(Array.from({ length: 150 }, (_, i) => 'item' + i));
});
add('numbers grouped in columns', () => {
  console.log(Array.from({ length: 30 }, (_, i) => i * i * 37));
  console.log([1, 22, 333, 4444, 55555, 666666, 7777777]);
});
add('short texts grouped in columns', () => {
  console.log(['a', 'bb', 'ccc', 'dddd', 'ee', 'f', 'ggggggg', 'hh', 'iii', 'j', 'kk', 'l']);
});
add('mixed lengths not grouped', () => {
  console.log(['a', 'b', 'c', 'd', 'e', 'f', 'a much longer entry that is very long indeed']);
});
add('six entries stay on one line', () => {
  console.log([1, 2, 3, 4, 5, 6], ['one', 'two', 'three', 'four', 'five', 'six']);
});
add('null-prototype array', () => {
  console.log(Object.setPrototypeOf([1, 2], null));
});

// --- objects and depth --------------------------------------------------------
add('nested to depth 2', () => {
  console.log({ a: { b: { c: { d: 1 } } } }, [[[[1]]]]);
  console.log({ a: { b: { c: [1, 2] }, m: new Map([[1, 2]]) } });
});
add('object broken onto lines past 80 columns', () => {
  console.log({ alpha: 'aaaaaaaaaaaaaaaa', beta: 'bbbbbbbbbbbbbbbbbb', gamma: 'cccccccccccccccccc', d: 1 });
  console.log({ short: 1, nested: { one: 'first value here', two: 'second value here', three: 3 } });
});
add('many keys', () => {
  const o = {};
  for (let i = 0; i < 30; i++) o['key' + i] = i;
  console.log(o);
});
add('long text inside an object', () => {
  console.log({ text: 'first line of a long text\nsecond line of the same long text\nthird' });
  console.log(['x'.repeat(100)]);
});
add('keys that need quotes, numbers, symbols', () => {
  console.log({ 'a-b': 1, 2: 'two', [Symbol('k')]: 3, ['__proto__']: 4, valid_id: 5 });
});
add('null prototype', () => {
  const o = Object.create(null);
  o.x = 1;
  console.log(Object.create(null), o);
});
add('own string tag', () => {
  console.log({ [Symbol.toStringTag]: 'Tagged', a: 1 });
  class T {
    get [Symbol.toStringTag]() {
      return 'ignored';
    }
  }
  Object.defineProperty(T.prototype, Symbol.toStringTag, { value: 'Tg' });
  console.log(new T());
});

// --- collections --------------------------------------------------------------
add('Map and Set', () => {
  console.log(new Map([[1, { a: 1 }], ['x', [1, 2]]]), new Set([1, 'a', { b: 2 }]));
  console.log(new Map(), new Set(), new Map([[{ k: 1 }, new Set([1])]]));
});
add('Map and Set with properties and subclasses', () => {
  const m = new Map([[1, 2]]);
  m.extra = true;
  class MySet extends Set {}
  console.log(m, new MySet([1, 2]));
});
add('iterators', () => {
  console.log(new Map([[1, 'a']]).entries(), new Map([[1, 'a']]).keys(), new Set([5]).values());
  console.log([1, 2][Symbol.iterator]());
});
add('weak collections', () => {
  console.log(new WeakMap(), new WeakSet());
});
add('typed arrays and buffers', () => {
  console.log(new Uint8Array([1, 2, 3]), new Float64Array([1.5, -0]), new BigInt64Array([5n]));
  console.log(new Uint8Array(0), new Int16Array(120));
  console.log(new ArrayBuffer(4), new DataView(new ArrayBuffer(2)));
  console.log({ bytes: new Uint8Array([255]) });
});

// --- dates, regexps, boxed values, promises --------------------------------------
add('Date and RegExp', () => {
  console.log(new Date(0), [new Date(1e12)], new Date(NaN));
  console.log(/ab+c/gi, { r: /x/ });
  const r = /y/;
  r.note = 1;
  console.log(r);
});
add('boxed primitives', () => {
  const s = new String('ab');
  s.extra = 1;
  console.log(new Number(3), new Number(-0), s, new Boolean(false), Object(1n), Object(Symbol('s')));
});
add('promises', () => {
  const rejected = Promise.reject(new Error('no'));
  rejected.catch(() => {});
  console.log(Promise.resolve(5), new Promise(() => {}), Promise.resolve({ a: [1] }));
  console.log(Promise.reject(3).catch(() => {}) && 'x');
});

// --- functions and classes ----------------------------------------------------------
add('functions', () => {
  console.log(function f() {}, function () {}, () => {}, async function af() {});
  console.log(function* g() {}, async function* ag() {}, Math.max, (function () {}).bind(null));
});
add('functions with properties', () => {
  function withProps() {}
  withProps.a = 1;
  console.log(withProps, { fn: withProps });
});
add('classes', () => {
  class A {}
  class B extends A {}
  console.log(A, B, class {}, [A]);
  const C = class extends B {};
  console.log(C);
});
add('class instances', () => {
  class A {
    constructor() {
      this.x = 1;
    }
    method() {}
  }
  class B extends A {}
  class Empty {}
  console.log(new A(), new B(), new Empty(), [new A()]);
});
add('arguments object', () => {
  (function () {
    console.log(arguments);
  })(1, 'two');
});

// --- errors ---------------------------------------------------------------------
add('errors with their stack', () => {
  console.log(new Error('boom'));
  console.log([new TypeError('inside')]);
});
add('error with extra properties and cause', () => {
  const e = new Error('outer', { cause: new Error('inner') });
  e.code = 'E_CODE';
  console.log(e);
});
add('error without frames', () => {
  const limit = Error.stackTraceLimit;
  Error.stackTraceLimit = 0;
  const e = new RangeError('bare');
  Error.stackTraceLimit = limit;
  console.log(e, { e });
});
add('custom error class', () => {
  class MyError extends Error {}
  const e = new MyError('mine');
  console.log(e.stack.split('\n')[0]);
  console.log(e);
});
add('error with changed name', () => {
  const e = new Error('renamed');
  e.name = 'Custom';
  console.log(e);
});

// --- cycles ------------------------------------------------------------------------
add('cycles', () => {
  const c = { name: 'c' };
  c.self = c;
  console.log(c);
  const a = [1];
  a.push(a);
  console.log(a);
});
add('two cycles', () => {
  const x = { name: 'x' };
  const y = { name: 'y', x };
  x.y = y;
  const z = { name: 'z' };
  z.z = z;
  console.log({ x, z });
});
add('shared but not circular', () => {
  const s = { s: 1 };
  console.log({ a: s, b: s });
});

// --- getters -----------------------------------------------------------------------
add('getters and setters not run', () => {
  let runs = 0;
  console.log({
    get g() {
      runs++;
      throw new Error('never');
    },
    set s(v) {},
    get gs() {
      runs++;
      return 1;
    },
    set gs(v) {},
  });
  class P {
    get onProto() {
      runs++;
      return 1;
    }
  }
  console.log(new P(), 'getters run:', runs);
});

// --- proxies -------------------------------------------------------------------------
add('proxies show their target', () => {
  const trap = () => {
    throw new Error('trap');
  };
  const handler = { get: trap, ownKeys: trap, getOwnPropertyDescriptor: trap, getPrototypeOf: trap };
  console.log(new Proxy({ a: 1 }, handler), new Proxy([1, 2], handler));
  console.log(new Proxy(function named() {}, handler));
});
add('revoked proxy', () => {
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  console.log(proxy, [proxy]);
});

// --- custom inspection -------------------------------------------------------------
add('custom inspect symbol', () => {
  const custom = { [Symbol.for('nodejs.util.inspect.custom')]: (depth) => `Custom<${depth}>` };
  console.log(custom, { inner: custom });
  const obj = { [Symbol.for('nodejs.util.inspect.custom')]: () => ({ replaced: true }) };
  console.log(obj);
});

// --- printf-style formats -------------------------------------------------------------
add('%s and %d', () => {
  console.log('%s is %d', 'x', 42);
  console.log('%s %s', 'only one');
  console.log('%d %d %d %d', '42', 1.5, 10n, {});
  console.log('%s', 5, 'extra', { a: 1 });
});
add('%s of objects', () => {
  class WithToString {
    toString() {
      return 'custom text';
    }
  }
  console.log('%s|%s|%s', { a: { b: 1 } }, [1, [2, [3]]], new WithToString());
  console.log('%s|%s|%s|%s', null, undefined, Symbol('s'), 5n);
  console.log('%s', new Error('in format').message, new Date(0));
  console.log('%s', { toString() { return 'own'; } });
});
add('%i and %f', () => {
  console.log('%i %i %i', '42.9px', 7.9, -3.2);
  console.log('%f %f %f', '3.5e2', 'abc', 1);
  console.log('%i %f', 5n, Symbol('x'));
});
add('%j', () => {
  const c = { a: 1 };
  c.c = c;
  console.log('%j %j %j', { a: [1, 'x'] }, c, undefined);
});
add('%o and %O', () => {
  console.log('%o', { a: [1, 2, { b: 1 }], f() {} });
  console.log('%O', { a: { b: { c: { d: 1 } } } });
  console.log('%o', [1, [2]]);
});
add('%c and %%', () => {
  console.log('%c styled %s', 'color: red', 'x');
  console.log('100%% sure, 50% maybe, %', 1);
  console.log('%x unknown %s', 'kept');
  console.log('no args %s %d');
  console.log(5, '%s', 'not a format');
});

// --- console methods -------------------------------------------------------------------
add('log, info, debug on stdout; error, warn on stderr', () => {
  console.info('info', 1);
  console.debug('debug', { d: 1 });
  console.error('error', [1]);
  console.warn('warn %d', 2);
  console.dirxml('dirxml', 3);
});
add('dir with options', () => {
  console.dir({ a: { b: { c: { d: { e: 1 } } } } }, { depth: 0 });
  console.dir({ a: { b: { c: { d: { e: 1 } } } } }, { depth: Infinity });
  console.dir({ a: { b: { c: { d: { e: 1 } } } } }, { depth: null });
  console.dir([1, 2], { showHidden: true });
  console.dir({ [Symbol.for('nodejs.util.inspect.custom')]: () => 'custom' });
  console.dir('text');
});
add('table of objects', () => {
  console.table([{ a: 1, b: 'x' }, { a: 2, c: [1, 2, 3, 4, 5] }]);
});
add('table of arrays', () => {
  console.table([[1, 2], [3, 4, 5]]);
});
add('table with columns', () => {
  console.table({ r1: { x: 1, y: 2 }, r2: { y: 3 } }, ['x']);
  console.table([{ a: 1, b: 2 }], ['b', 'missing']);
});
add('table of primitives and mixed rows', () => {
  console.table([1, 'a', { x: 1 }]);
  console.table(['apples', 'oranges']);
});
add('table columns in key order', () => {
  console.table([{ b: 1 }, { 1: 2, a: 3 }]);
});
add('table of Map and Set', () => {
  console.table(new Map([[1, 'a'], ['k', { z: 1 }]]));
  console.table(new Set([1, 'two']));
});
add('table of non-objects', () => {
  console.table(5);
  console.table('str');
  console.table(null);
});
add('table cells', () => {
  console.table([{ obj: { a: 1, b: 2, c: 3 }, small: { a: 1 }, arr: [1, 2, 3, 4], s: 'it\'s' }]);
});
add('count and countReset', () => {
  console.count();
  console.count();
  console.count('x');
  console.countReset();
  console.count();
  console.count('x');
});
add('group indentation', () => {
  console.group('Outer');
  console.log('inside');
  console.group();
  console.log({ multi: 'line', object: { with: 'enough', keys: 'to break', onto: 'several lines' } });
  console.error('error inside');
  console.groupEnd();
  console.groupCollapsed('collapsed %s', 'label');
  console.warn('warn inside');
  console.groupEnd();
  console.groupEnd();
  console.groupEnd();
  console.log('outside');
});
add('assert', () => {
  console.assert(true, 'not printed');
  console.assert(false);
  console.assert(0, 'msg %s', 'x', { a: 1 });
  console.assert('', { a: 1 });
  console.assert(null, 5);
});
add('trace', () => {
  console.trace('here %d', 5, { a: 1 });
  console.trace();
});
add('time and timeEnd', () => {
  console.time('t');
  console.timeLog('t', 'and', { data: 1 });
  console.timeEnd('t');
  console.time();
  console.timeEnd();
});
add('wide characters in tables and columns', () => {
  console.table([{ name: '\u65e5\u672c', city: 'Z\u00fcrich' }, { name: 'ab', city: '\u00e9' }]);
  console.log(['\u65e5', '\u672c\u8a9e', 'abc', 'd', 'e', 'f', 'g', 'h']);
});
add('a console method called alone', () => {
  const log = console.log;
  log('detached', 1);
});

// --- differences kept on purpose ------------------------------------------------------
add('%s of an object whose toString throws', () => {
  console.log('%s', { toString() { throw new Error('no text'); } });
}, 'node lets the error out of console.log; tarn-run prints the object as %s prints plain objects');
add('%d of an object whose valueOf throws', () => {
  console.log('%d', { valueOf() { throw new Error('no number'); } });
}, 'node lets the error out of console.log; tarn-run prints NaN');
add('string tag from a getter', () => {
  class G {
    get [Symbol.toStringTag]() {
      return 'FromGetter';
    }
  }
  console.log(new G());
}, 'node runs the getter to read Symbol.toStringTag; tarn-run runs no getter');
add('custom inspector that throws', () => {
  console.log({ a: 1, [Symbol.for('nodejs.util.inspect.custom')]() { throw new Error('x'); } });
}, 'node lets the error out of console.log; tarn-run shows the object as if it had no inspector');
add('warning for a missing label', () => {
  console.timeEnd('missing');
  console.countReset('missing');
}, 'node prints "(node:PID) Warning: ..." later, from its event loop; tarn-run prints ' +
   '"(tarn-run:PID) Warning: ..." at once (host.run.console_timers checks it)');

let index = 0;
function runNext() {
  if (index >= cases.length) return;
  const c = cases[index++];
  const header = '### ' + c.name + (c.skip ? ' [skip: ' + c.skip + ']' : '');
  console.log(header);
  console.error(header);
  try {
    c.fn();
  } catch (e) {
    console.log('!!! threw ' + (e && e.name) + ': ' + (e && e.message));
  }
  runNext();
}
runNext();

// Random values printed under several option sets, for differential.py to
// compare between node and tarn-run. Runs unchanged under both:
//   node differential.js SEED COUNT      tarn-run differential.js SEED COUNT
// Each value is built from the seed alone, so both programs build the same
// values; each printing opens with a "### INDEX SET" line.
'use strict';

const args = typeof tarn !== 'undefined' ? tarn.args : process.argv.slice(2);
const seed = Number(args[0] || 1) >>> 0;
const count = Number(args[1] || 100);
Error.stackTraceLimit = 0; // stack frames differ between any two engines

let state = seed || 1;
function random() {
  // xorshift32: small, fast and the same in every engine.
  state ^= state << 13;
  state >>>= 0;
  state ^= state >>> 17;
  state ^= state << 5;
  state >>>= 0;
  return state / 4294967296;
}
const below = (n) => Math.floor(random() * n);
const pick = (list) => list[below(list.length)];

const words = ['a', 'key', 'value', 'long_name_here', 'x1', '_under', 'with space', 'dash-ed',
  '0', '12', 'quote\'s', 'dq"', 'both\'"', 'tick`\'"', 'new\nline', 'tab\t', 'ctrl\x01\x1f',
  'del\x7f', 'caf\u00e9', '\u65e5\u672c\u8a9e', 'emoji\ud83d\ude00', 'lone\ud800', 'back\\slash',
  '', ' ', '__proto__x', 'constructor', 'name', 'message'];

function text() {
  switch (below(6)) {
    case 0: return pick(words);
    case 1: return pick(words) + pick(words) + pick(words);
    case 2: return pick(words).repeat(1 + below(30));
    case 3: return Array.from({ length: 1 + below(5) }, () => pick(words)).join('\n');
    case 4: return 'x'.repeat(below(120));
    default: return String.fromCharCode(...Array.from({ length: below(12) }, () => below(0x2000)));
  }
}

function primitive() {
  switch (below(12)) {
    case 0: return pick([0, -0, 1, -1, 42, 3.14, -2.5e-7, 1e21, 123456789, NaN, Infinity, -Infinity]);
    case 1: return below(1000) - 500;
    case 2: return random() * 1e6;
    case 3: return pick([0n, 1n, -5n, 12345678901234567890n]);
    case 4: return pick([true, false]);
    case 5: return pick([null, undefined]);
    case 6: return Symbol(pick(['', 'sym', 'with space', 'new\nline']));
    case 7: return Symbol();
    default: return text();
  }
}

// Proxies, whose traps node's %d and %s conversions would run.
const proxies = new WeakSet();

class Point {
  constructor(x, y) {
    this.x = x;
    this.y = y;
  }
}
class Empty {}
class Child extends Point {}
class Tagged {
  get [Symbol.toStringTag]() {
    return 'never read';
  }
}
Object.defineProperty(Tagged.prototype, Symbol.toStringTag, { value: 'TagValue' });
class MyMap extends Map {}
class MyError extends Error {}

function key() {
  if (below(12) === 0) return Symbol(pick(['k', 'sym key', '']));
  return pick(words) + (below(3) === 0 ? below(100) : '');
}

function plainObject(depth, seen) {
  const object = below(10) === 0 ? Object.create(null) : {};
  const size = below(depth > 3 ? 3 : 7);
  for (let i = 0; i < size; i++) object[key()] = value(depth + 1, seen);
  if (below(8) === 0) {
    Object.defineProperty(object, 'hidden' + below(3), { value: value(depth + 1, seen), enumerable: false });
  }
  if (below(10) === 0) {
    Object.defineProperty(object, 'acc' + below(3), {
      get() { throw new Error('a getter ran'); },
      set: below(2) ? (v) => {} : undefined,
      enumerable: true,
    });
  }
  if (below(14) === 0) Object.defineProperty(object, 'setOnly', { set(v) {}, enumerable: true });
  return object;
}

function array(depth, seen) {
  switch (below(6)) {
    case 0: return Array.from({ length: below(150) }, () => below(2000) - 1000);
    case 1: return Array.from({ length: below(30) }, () => pick(words));
    case 2: {
      const sparse = new Array(below(20));
      for (let i = 0; i < sparse.length; i += 1 + below(4)) sparse[i] = primitive();
      return sparse;
    }
    case 3: {
      const list = Array.from({ length: below(8) }, () => value(depth + 1, seen));
      if (below(3) === 0) list.extra = primitive();
      return list;
    }
    default: return Array.from({ length: below(10) }, () => value(depth + 1, seen));
  }
}

function collection(depth, seen) {
  switch (below(9)) {
    case 0: return new Map(Array.from({ length: below(6) }, () => [value(depth + 1, seen), value(depth + 1, seen)]));
    case 1: return new Set(Array.from({ length: below(8) }, () => value(depth + 1, seen)));
    case 2: return new MyMap([[1, 'one']]);
    case 3: return new Map([[1, 'a'], [2, 'b']])[pick(['keys', 'values', 'entries'])]();
    case 4: return new Set(['s', 't'])[pick(['values', 'entries'])]();
    case 5: return below(2) ? new WeakMap() : new WeakSet();
    case 6: {
      const Type = pick([Uint8Array, Int16Array, Float64Array, Uint32Array, Float32Array, BigInt64Array]);
      const length = pick([0, 1, 3, 8, 40, 120]);
      const typed = new Type(length);
      for (let i = 0; i < length; i++) typed[i] = Type === BigInt64Array ? BigInt(below(100)) : below(300) - 100;
      return typed;
    }
    case 7: return new ArrayBuffer(below(12));
    default: return new DataView(new ArrayBuffer(below(6)));
  }
}

function special(depth, seen) {
  switch (below(16)) {
    case 0: return new Point(value(depth + 1, seen), primitive());
    case 1: return new Empty();
    case 2: return new Child(1, 2);
    case 3: return new Tagged();
    case 4: return pick([new Number(below(9)), new String(pick(words)), new Boolean(below(2)), Object(3n), Object(Symbol('b'))]);
    case 5: {
      const error = new (pick([Error, TypeError, RangeError, MyError]))(pick(words));
      if (below(2)) error.code = pick(words);
      if (below(3) === 0) error.cause = value(depth + 1, seen);
      return error;
    }
    case 6: return new Error('outer', { cause: new Error('inner') });
    case 7: {
      const proxy = new Proxy(plainObject(depth, seen), { get() { throw new Error('trap'); } });
      proxies.add(proxy);
      return proxy;
    }
    case 8: {
      const { proxy, revoke } = Proxy.revocable({}, {});
      revoke();
      proxies.add(proxy);
      return proxy;
    }
    case 9: {
      const state = below(3);
      if (state === 0) return Promise.resolve(primitive());
      if (state === 1) return new Promise(() => {});
      const promise = Promise.reject(primitive());
      promise.catch(() => {});
      return promise;
    }
    case 10: return pick([new Date(below(2e12)), new Date(NaN), /ab+c/gi, /x/]);
    case 11: return pick([function named() {}, () => {}, async function af() {}, function* gen() {}, Math.max, Point, Child, class {}]);
    case 12: {
      const f = function withProps() {};
      f.prop = primitive();
      return f;
    }
    case 13: return { [Symbol.for('nodejs.util.inspect.custom')]: (d) => 'custom at ' + d, kept: 1 };
    default: return { [Symbol.toStringTag]: 'OwnTag', z: 1 };
  }
}

function value(depth, seen) {
  if (depth >= 6) return primitive();
  const roll = below(10);
  if (roll < 3) return primitive();
  if (roll < 5) return plainObject(depth, seen);
  if (roll < 7) return array(depth, seen);
  if (roll < 8) return collection(depth, seen);
  if (roll < 9 && seen.length > 0 && below(4) === 0) return pick(seen);
  return special(depth, seen);
}

// A value with, now and then, a cycle back to one of its objects.
function topValue() {
  const root = plainObject(0, []);
  const seen = [root];
  root.item = value(1, seen);
  if (below(6) === 0) {
    const inner = { back: root };
    root.inner = inner;
    if (below(2)) inner.self = inner;
  }
  return below(4) === 0 ? root : value(0, []);
}

// Whether %s and %d can turn the value into a text and a number: where they
// cannot, node lets the error out of console.log (a documented difference).
function converts(v) {
  if (proxies.has(v)) return false;
  try {
    String(v);
    Number(v);
    return true;
  } catch (e) {
    return false;
  }
}

const optionSets = [
  (v) => console.log(v),
  (v) => console.dir(v, { depth: 4 }),
  (v) => console.dir(v, { compact: pick([false, 1]) }),
  (v) => console.dir(v, { breakLength: pick([40, 120]) }),
  (v) => console.dir(v, { sorted: true, showHidden: true }),
  (v) => (converts(v) ? console.log('%s|%d|%i|%f|%o|%O', v, v, v, v, v, v) : console.log('%o|%O', v, v)),
];

for (let i = 0; i < count; i++) {
  const item = topValue();
  for (let set = 0; set < optionSets.length; set++) {
    console.log(`### ${i} ${set}`);
    optionSets[set](item);
  }
}

// The console's formatter: walking a value. Properties are read through
// their descriptors, so no getter runs unless asked for, and a proxy is
// replaced by its target before anything is read from it.

const kObjectType = 0;
const kArrayType = 1;
const kArrayExtrasType = 2; // an array's own keys besides its entries

// The object being shown when its prototype chain holds no proxy: walks up
// from it need not ask the engine about each prototype.
let proxyFreeValue;

// The built-in prototypes, taken at compile time: none of them is a proxy.
const builtInPrototypes = new SetCtor();
const builtInConstructors = [Object, Function, Array, Number, Boolean, String, Symbol, BigInt, Date,
  RegExp, Error, EvalError, RangeError, ReferenceError, SyntaxError, TypeError, URIError, Promise,
  Map, Set, WeakMap, WeakSet, ArrayBuffer, DataView, Uint8Array, Int8Array, Uint16Array,
  Int16Array, Uint32Array, Int32Array, Float32Array, Float64Array, Uint8ClampedArray,
  BigUint64Array, BigInt64Array];
for (let i = 0; i < builtInConstructors.length; i++) {
  SetAdd(builtInPrototypes, builtInConstructors[i].prototype);
}
const builtInSamples = [new Map().entries(), new Set().values(), [].values(), TypedArrayPrototype,
  async function () {}, function* () {}, async function* () {}];
for (let i = 0; i < builtInSamples.length; i++) {
  for (let holder = ReflectPrototypeOf(builtInSamples[i]); holder !== null;
       holder = ReflectPrototypeOf(holder)) {
    SetAdd(builtInPrototypes, holder);
  }
}

// True when no object on the value's prototype chain is a proxy (the value
// itself is none). Chains of built-in prototypes are known without asking
// the engine.
function hasPlainChain(value) {
  let holder = ReflectPrototypeOf(value);
  for (let steps = 0; holder !== null && steps < 16; steps++) {
    if (!SetHas(builtInPrototypes, holder)) return natives.proxyFreeChain(holder);
    holder = ReflectPrototypeOf(holder);
  }
  return holder === null;
}

function isProxy(holder, start) {
  return start !== proxyFreeValue && natives.kindOf(holder) === 'proxy';
}

// A data property found on the object or its prototypes; undefined when
// absent, behind a getter, or behind a proxy in the chain.
function dataProperty(object, key, trusted) {
  let holder = object;
  for (let steps = 0; holder !== null && steps < 1000; steps++) {
    if (trusted !== true && isProxy(holder, object)) return undefined;
    const descriptor = ReflectDescriptor(holder, key);
    if (descriptor !== undefined) return descriptor.value;
    holder = ReflectPrototypeOf(holder);
  }
  return undefined;
}

function ownData(object, key) {
  const descriptor = ReflectDescriptor(object, key);
  return descriptor === undefined ? undefined : descriptor.value;
}

function functionName(fn) {
  const name = ownData(fn, 'name');
  return name === undefined ? '' : name;
}

// True when `prototype` is on the chain of `object` (instanceof without
// running Symbol.hasInstance).
function hasInChain(object, prototype) {
  let holder = ReflectPrototypeOf(object);
  for (let steps = 0; holder !== null && steps < 1000; steps++) {
    if (holder === prototype) return true;
    if (isProxy(holder, object)) return false;
    holder = ReflectPrototypeOf(holder);
  }
  return false;
}

// The name of the class an object belongs to: the first constructor on its
// prototype chain whose prototype the object inherits from; null for an
// object without a prototype.
function constructorOf(ctx, value, recurseTimes) {
  let holder = value;
  let first;
  for (let steps = 0; holder !== null && steps < 1000; steps++) {
    if (isProxy(holder, value)) break;
    const descriptor = ReflectDescriptor(holder, 'constructor');
    if (descriptor !== undefined && typeof descriptor.value === 'function') {
      const name = functionName(descriptor.value);
      const prototype = ownData(descriptor.value, 'prototype');
      // The usual case, a prototype holding its own class, needs no walk.
      if (typeof name === 'string' && name !== '' && prototype !== undefined &&
          ((prototype === holder && holder !== value) || hasInChain(value, prototype))) {
        if (ctx.showHidden && recurseTimes <= ctx.depth &&
            (first !== holder || !isBuiltInName(name))) {
          ctx.protoProps = prototypeProperties(ctx, value, first === undefined ? value : first,
                                               recurseTimes);
        }
        return name;
      }
    }
    holder = ReflectPrototypeOf(holder);
    if (first === undefined) first = holder;
  }
  if (first === null) return null;
  const internal = natives.constructorName(value);
  if (recurseTimes > ctx.depth) return `${internal} <Complex prototype>`;
  const inner = makeContext(ctx, { depth: -1, customInspect: false });
  return `${internal} <${formatValue(inner, first, 0)}>`;
}

// With showHidden: the data (not methods) that an object's class and up to
// two classes above it put on their prototypes, under the keys the object
// does not have itself; undefined when there are none.
function prototypeProperties(ctx, value, start, recurseTimes) {
  const output = [];
  const shown = [];
  let holder = start;
  append(ctx.seen, value);
  for (let level = 0; level < 3; level++) {
    if (level !== 0 || holder === value) {
      holder = ReflectPrototypeOf(holder);
      if (holder === null || natives.kindOf(holder) === 'proxy') break;
      const constructor = ownData(holder, 'constructor');
      if (typeof constructor === 'function' && isBuiltInName(functionName(constructor))) break;
    }
    const keys = ReflectOwnKeys(holder);
    const levelKeys = [];
    for (let i = 0; i < keys.length; i++) {
      const key = keys[i];
      append(levelKeys, key);
      if (key === 'constructor' || HasOwn(value, key) || hasKey(shown, key)) continue;
      const descriptor = ReflectDescriptor(holder, key);
      if (typeof descriptor.value === 'function') continue;
      append(output, formatProperty(ctx, holder, recurseTimes, key, kObjectType, descriptor, value));
    }
    for (let i = 0; i < levelKeys.length; i++) append(shown, levelKeys[i]);
  }
  ctx.seen.length -= 1;
  return output.length === 0 ? undefined : output;
}

// Symbol.toStringTag when it is a text that says something the class name
// does not; an own enumerable one is shown among the keys instead.
// What an object inherits from its prototype (inspection method, tag, class
// name), kept for the rest of one inspection: the objects of a structure
// mostly share a few prototypes. Undefined where it cannot be kept.
function inheritedFacts(ctx, value) {
  if (proxyFreeValue !== value || ctx.showHidden) return undefined;
  const prototype = ReflectPrototypeOf(value);
  if (prototype === null) return undefined;
  if (ctx.protoFacts === undefined) ctx.protoFacts = new MapCtor();
  let facts = MapGet(ctx.protoFacts, prototype);
  if (facts === undefined) {
    facts = {
      custom: dataProperty(prototype, customInspectSymbol, true),
      tag: dataProperty(prototype, toStringTagSymbol, true),
      constructor: undefined,
      named: false,
    };
    MapSet(ctx.protoFacts, prototype, facts);
  }
  return facts;
}

function inherited(ctx, value, key, field) {
  const facts = inheritedFacts(ctx, value);
  if (facts === undefined || HasOwn(value, key)) return dataProperty(value, key);
  return facts[field];
}

function cachedConstructorOf(ctx, value, recurseTimes) {
  const facts = inheritedFacts(ctx, value);
  if (facts === undefined || HasOwn(value, 'constructor')) {
    return constructorOf(ctx, value, recurseTimes);
  }
  if (!facts.named) {
    const name = constructorOf(ctx, value, recurseTimes);
    // A name found on the prototypes holds for every object sharing them.
    if (name === null || StringIndexOf(name, ' <') === -1) {
      facts.constructor = name;
      facts.named = true;
    }
    return name;
  }
  return facts.constructor;
}

function tagOf(ctx, value, constructor) {
  const tag = inherited(ctx, value, toStringTagSymbol, 'tag');
  if (typeof tag !== 'string' || tag === '') return '';
  const own = ReflectDescriptor(value, toStringTagSymbol);
  if (own !== undefined && (ctx.showHidden || own.enumerable)) return '';
  return tag;
}

// "Name(size) [Tag] " and its forms for objects without a prototype.
function prefixOf(constructor, tag, fallback, size) {
  if (size === undefined) size = '';
  if (constructor === null) {
    if (tag !== '' && fallback !== tag) return `[${fallback}${size}: null prototype] [${tag}] `;
    return `[${fallback}${size}: null prototype] `;
  }
  if (tag !== '' && constructor !== tag) return `${constructor}${size} [${tag}] `;
  return `${constructor}${size} `;
}

function formatValue(ctx, value, recurseTimes, inTypedArray) {
  if (typeof value !== 'object' && typeof value !== 'function') {
    return primitiveText(ctx, value);
  }
  if (value === null) return 'null';
  const context = value;
  let kind = natives.kindOf(value);
  if (kind === 'proxy') {
    const proxy = natives.proxyParts(value, ctx.showProxy);
    if (proxy[0] === null) return '<Revoked Proxy>';
    if (ctx.showProxy) return formatProxy(ctx, proxy, recurseTimes);
    // node takes a target whose property "0" is null for a revoked proxy.
    if (dataProperty(proxy[0], '0') === null) return '<Revoked Proxy>';
    value = proxy[0];
    kind = natives.kindOf(value);
  }
  proxyFreeValue = hasPlainChain(value) ? value : undefined;
  if (ctx.customInspect) {
    const custom = customText(ctx, value, context, recurseTimes);
    if (custom !== undefined) return custom;
  }
  for (let i = 0; i < ctx.seen.length; i++) {
    if (ctx.seen[i] === value) return `[Circular *${circularIndex(ctx, value)}]`;
  }
  return formatRaw(ctx, value, recurseTimes, inTypedArray, kind);
}

function circularIndex(ctx, value) {
  if (ctx.circular === undefined) ctx.circular = new MapCtor();
  let index = MapGet(ctx.circular, value);
  if (index === undefined) {
    index = MapSize(ctx.circular) + 1;
    MapSet(ctx.circular, value, index);
  }
  return index;
}

function formatProxy(ctx, parts, recurseTimes) {
  if (recurseTimes > ctx.depth) return 'Proxy [Array]';
  recurseTimes += 1;
  ctx.indentationLvl += 2;
  const output = [formatValue(ctx, parts[0], recurseTimes), formatValue(ctx, parts[1], recurseTimes)];
  ctx.indentationLvl -= 2;
  return reduceToSingleString(ctx, output, '', ['Proxy [', ']'], kArrayType, recurseTimes);
}

// The text of the value's own inspection method, undefined when it has none
// (or it threw: a log line must not become a new failure).
function customText(ctx, value, context, recurseTimes) {
  const custom = inherited(ctx, value, customInspectSymbol, 'custom');
  if (typeof custom !== 'function' || custom === inspectEntry) return undefined;
  const depth = ctx.depth === Infinity ? Infinity : ctx.depth - recurseTimes;
  let result;
  try {
    result = ReflectApply(custom, context, [depth, userOptions(ctx, depth), inspectEntry]);
  } catch (error) {
    if (isStackOverflow(error)) throw error;
    return undefined;
  }
  if (result === context) return undefined;
  if (typeof result !== 'string') return formatValue(ctx, result, recurseTimes);
  return replaceAll(result, '\n', `\n${spaces(ctx.indentationLvl)}`);
}

function isStackOverflow(error) {
  if (error === null || typeof error !== 'object' || !hasInChain(error, RangeErrorCtor.prototype)) {
    return false;
  }
  return ownData(error, 'message') === 'Maximum call stack size exceeded';
}

function formatRaw(ctx, value, recurseTimes, inTypedArray, kind) {
  const seen = ctx.seen.length;
  const indentation = ctx.indentationLvl;
  let constructor = null;
  let constructorFound = false;
  let tag = '';
  try {
    ctx.protoProps = undefined;
    constructor = cachedConstructorOf(ctx, value, recurseTimes);
    constructorFound = true;
    tag = tagOf(ctx, value, constructor);
    return describe(ctx, value, recurseTimes, constructor, tag, inTypedArray, kind);
  } catch (error) {
    if (!isStackOverflow(error)) throw error;
    ctx.seen.length = seen;
    ctx.indentationLvl = indentation;
    // The stack may run out while the constructor is still being looked
    // for: then nothing is known of it, not that the prototype is null.
    const name = constructorFound
      ? StringSlice(prefixOf(constructor, tag, 'Object'), 0, -1)
      : 'Object';
    return `[${name}: Inspection interrupted prematurely. Maximum call stack size exceeded.]`;
  }
}

// Shows the object once its shape (braces, leading text, own entries) is
// known: nested values, own keys, cycles, and the line layout.
function describe(ctx, value, recurseTimes, constructor, tag, inTypedArray, kind) {
  const shape = shapeOf(ctx, value, recurseTimes, constructor, tag, inTypedArray, kind);
  const protoProps = ctx.protoProps;
  ctx.protoProps = undefined;
  if (typeof shape === 'string') return shape;
  if (recurseTimes > ctx.depth) {
    if (shape.deep !== undefined) return shape.deep;
    const name = StringSlice(prefixOf(constructor, tag, 'Object'), 0, -1);
    return constructor === null ? name : `[${name}]`;
  }
  recurseTimes += 1;
  append(ctx.seen, value);
  ctx.currentDepth = recurseTimes;
  let output = shape.entries === undefined ? [] : shape.entries(ctx, value, recurseTimes);
  const keys = shape.keys;
  for (let i = 0; i < keys.length; i++) {
    append(output, formatProperty(ctx, value, recurseTimes, keys[i],
                                  shape.type === kArrayType ? kArrayExtrasType : kObjectType));
  }
  if (protoProps !== undefined) {
    for (let i = 0; i < protoProps.length; i++) append(output, protoProps[i]);
  }
  ctx.seen.length -= 1;
  let base = shape.base;
  const braces = shape.braces;
  if (ctx.circular !== undefined) {
    const index = MapGet(ctx.circular, value);
    if (index !== undefined) {
      const reference = `<ref *${index}>`;
      if (ctx.compact !== true) base = base === '' ? reference : `${reference} ${base}`;
      else braces[0] = `${reference} ${braces[0]}`;
    }
  }
  if (ctx.sorted) output = sortEntries(ctx, output, shape.type, keys.length);
  const numeric = shape.type === kArrayType && output.length > 6 &&
    numericElements(value, output.length);
  return reduceToSingleString(ctx, output, base, braces, shape.type, recurseTimes, numeric);
}

function sortEntries(ctx, output, type, keyCount) {
  const compare = typeof ctx.sorted === 'function' ? ctx.sorted : undefined;
  if (type === kObjectType) return ArraySort(output, compare);
  if (keyCount <= 1) return output;
  const head = [];
  const tail = [];
  const split = output.length - keyCount;
  for (let i = 0; i < output.length; i++) append(i < split ? head : tail, output[i]);
  ArraySort(tail, compare);
  for (let i = 0; i < tail.length; i++) append(head, tail[i]);
  return head;
}

// "key: value" for one property, or the value alone for an array entry.
function formatProperty(ctx, object, recurseTimes, key, type, descriptor, receiver) {
  let text;
  let separator = ' ';
  if (descriptor === undefined) {
    try {
      descriptor = ReflectDescriptor(object, key);
    } catch (error) {
      if (isStackOverflow(error)) throw error;
      descriptor = { value: undefined, enumerable: true, threw: threwText(error) };
    }
    if (descriptor === undefined) descriptor = { value: undefined, enumerable: true };
  }
  if (descriptor.threw !== undefined) {
    text = descriptor.threw;
  } else if (descriptor.value !== undefined) {
    const diff = ctx.compact !== true || type !== kObjectType ? 2 : 3;
    ctx.indentationLvl += diff;
    text = formatValue(ctx, descriptor.value, recurseTimes);
    if (diff === 3 && ctx.breakLength < textWidth(text)) {
      separator = `\n${spaces(ctx.indentationLvl)}`;
    }
    ctx.indentationLvl -= diff;
  } else if (descriptor.get !== undefined) {
    text = getterText(ctx, receiver === undefined ? object : receiver, recurseTimes, descriptor);
  } else if (descriptor.set !== undefined) {
    text = '[Setter]';
  } else {
    text = 'undefined';
  }
  if (type === kArrayType) return text;
  return `${keyText(key, descriptor.enumerable)}:${separator}${text}`;
}

function threwText(error) {
  let message;
  try {
    message = error !== null && typeof error === 'object' ? ownData(error, 'message') : error;
  } catch (ignored) {
    message = undefined;
  }
  return `<Inspection threw (${message})>`;
}

function getterText(ctx, object, recurseTimes, descriptor) {
  const label = descriptor.set !== undefined ? 'Getter/Setter' : 'Getter';
  const wanted = ctx.getters === true ||
    (ctx.getters === 'get' && descriptor.set === undefined) ||
    (ctx.getters === 'set' && descriptor.set !== undefined);
  if (!wanted) return `[${label}]`;
  try {
    const result = ReflectApply(descriptor.get, object, []);
    ctx.indentationLvl += 2;
    let text;
    if (result === null) text = `[${label}: null]`;
    else if (typeof result === 'object') text = `[${label}] ${formatValue(ctx, result, recurseTimes)}`;
    else text = `[${label}: ${primitiveText(ctx, result)}]`;
    ctx.indentationLvl -= 2;
    return text;
  } catch (error) {
    if (isStackOverflow(error)) throw error;
    return `[${label}: ${threwText(error)}]`;
  }
}

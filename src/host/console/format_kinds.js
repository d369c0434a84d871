// The console's formatter: the shape of each kind of object (its braces,
// leading text and entries), or its whole text when it has nothing inside.

function shape(braces, keys, type, entries, base) {
  return { braces, keys, type, entries, base: base === undefined ? '' : base };
}

// No own keys to show, nor properties of its class's prototypes.
function isEmpty(ctx, keys) {
  return keys.length === 0 && ctx.protoProps === undefined;
}

// Own keys, texts then symbols; enumerable ones unless showHidden. Array
// indices are left to the engine to skip, so a long array's are never all
// listed.
function ownKeys(ctx, value, skipIndices) {
  if (skipIndices === true) return natives.ownKeys(value, ctx.showHidden, true);
  const keys = ctx.showHidden ? ObjectGetOwnPropertyNames(value) : ObjectKeys(value);
  const symbols = ObjectGetOwnPropertySymbols(value);
  for (let i = 0; i < symbols.length; i++) {
    if (ctx.showHidden || IsEnumerable(value, symbols[i])) append(keys, symbols[i]);
  }
  return keys;
}

// Collections and arrays are shown as such while they can be iterated (or
// have no prototype at all); otherwise as the plain objects they look like.
function iterable(value, constructor) {
  return constructor === null || dataProperty(value, iteratorSymbol) !== undefined;
}

function shapeOf(ctx, value, recurseTimes, constructor, tag, inTypedArray, kind) {
  switch (iterable(value, constructor) ? kind : '') {
    case 'array': return arrayShape(ctx, value, constructor, tag);
    case 'typedArray': return typedArrayShape(ctx, value, constructor, tag);
    case 'map':
    case 'set': return collectionShape(ctx, value, constructor, tag, kind);
    case 'mapIterator':
    case 'setIterator': return iteratorShape(ctx, value, kind);
    case 'arguments': {
      // node 20 lists an arguments object's entries as keys.
      const keys = ownKeys(ctx, value);
      if (isEmpty(ctx, keys)) return '[Arguments] {}';
      return shape(['[Arguments] {', '}'], keys, kObjectType);
    }
    default: break;
  }
  const keys = ownKeys(ctx, value, kind === 'String');
  const special = specialShape(ctx, value, recurseTimes, constructor, tag, kind, keys, inTypedArray);
  if (special !== undefined) return special;
  if (constructor === 'Object') {
    const open = tag !== '' ? `${prefixOf(constructor, tag, 'Object')}{` : '{';
    if (isEmpty(ctx, keys)) return `${open}}`;
    return shape([open, '}'], keys, kObjectType);
  }
  if (isEmpty(ctx, keys)) return `${prefixOf(constructor, tag, 'Object')}{}`;
  return shape([`${prefixOf(constructor, tag, 'Object')}{`, '}'], keys, kObjectType);
}

// Kinds shown by a leading text (functions, errors, dates...) or with
// entries of their own (promises, buffers, weak collections).
function specialShape(ctx, value, recurseTimes, constructor, tag, kind, keys, inTypedArray) {
  let base;
  switch (kind) {
    case 'function':
    case 'asyncFunction':
    case 'generatorFunction':
    case 'asyncGeneratorFunction':
      base = functionBase(value, constructor, tag, kind);
      break;
    case 'regExp':
      base = `/${RegExpSource(value)}/${RegExpFlags(value)}`;
      if (constructor !== 'RegExp' || tag !== '') base = prefixOf(constructor, tag, 'RegExp') + base;
      break;
    case 'date':
      base = NumberIsNaN(DateGetTime(value)) ? DateToString(value) : DateToISOString(value);
      if (constructor !== 'Date' || tag !== '') base = prefixOf(constructor, tag, 'Date') + base;
      break;
    case 'error':
      base = errorBase(ctx, value, constructor, tag, keys);
      break;
    case 'Number': case 'String': case 'Boolean': case 'BigInt': case 'Symbol':
      base = boxedBase(ctx, value, constructor, tag, kind);
      break;
    case 'promise':
      return shape([`${prefixOf(constructor, tag, 'Promise')}{`, '}'], keys, kObjectType,
                   promiseEntries);
    case 'weakMap':
    case 'weakSet': {
      const name = kind === 'weakMap' ? 'WeakMap' : 'WeakSet';
      return shape([`${prefixOf(constructor, tag, name)}{`, '}'], keys, kObjectType,
                   ctx.showHidden ? weakEntries : unknownEntries);
    }
    case 'arrayBuffer':
    case 'sharedArrayBuffer':
      return bufferShape(ctx, value, constructor, tag, kind, keys, inTypedArray);
    case 'dataView':
      return dataViewShape(ctx, value, constructor, tag, keys);
    default:
      return undefined;
  }
  if (isEmpty(ctx, keys)) return base;
  const result = shape(['{', '}'], keys, kObjectType, undefined, base);
  // Below the depth limit a regular expression still shows its text.
  if (kind === 'regExp') result.deep = base;
  return result;
}

// --- arrays ---------------------------------------------------------------

function arrayShape(ctx, value, constructor, tag) {
  const length = value.length;
  const prefix = constructor !== 'Array' || tag !== ''
    ? prefixOf(constructor, tag, 'Array', `(${length})`) : '';
  const keys = ownKeys(ctx, value, true);
  if (length === 0 && isEmpty(ctx, keys)) return `${prefix}[]`;
  const result = shape([`${prefix}[`, ']'], keys, kArrayType, arrayEntries);
  return result;
}

function moreItems(remaining) {
  return `... ${remaining} more item${remaining > 1 ? 's' : ''}`;
}

// Entries of an array; a run of holes is one entry, "<3 empty items>".
function arrayEntries(ctx, value, recurseTimes) {
  const length = value.length;
  const output = [];
  let index = 0;
  let present;
  let next = 0;
  while (index < length && output.length < ctx.maxArrayLength) {
    if (present === undefined) {
      // One read tells whether the entry is there and what it holds.
      const descriptor = ReflectDescriptor(value, index);
      if (descriptor !== undefined) {
        append(output, formatProperty(ctx, value, recurseTimes, index, kArrayType, descriptor));
        index++;
        continue;
      }
      present = natives.indices(value);
    }
    while (next < present.length && present[next] < index) next++;
    if (next < present.length && present[next] === index) {
      append(output, formatProperty(ctx, value, recurseTimes, index, kArrayType,
                                    ReflectDescriptor(value, index)));
      index++;
      continue;
    }
    const end = next < present.length && present[next] < length ? present[next] : length;
    const holes = end - index;
    append(output, `<${holes} empty item${holes > 1 ? 's' : ''}>`);
    index = end;
  }
  if (index < length) append(output, moreItems(length - index));
  return output;
}

// Whether the first `count` elements are all numbers or bigints: columns of
// them are aligned right.
function numericElements(value, count) {
  const typed = natives.kindOf(value) === 'typedArray';
  const length = typed ? TypedArrayLength(value) : value.length;
  if (count > length) return false;
  for (let i = 0; i < count; i++) {
    const item = typed ? value[i] : ownData(value, i);
    if (typeof item !== 'number' && typeof item !== 'bigint') return false;
  }
  return true;
}

function typedArrayShape(ctx, value, constructor, tag) {
  const length = TypedArrayLength(value);
  const fallback = TypedArrayTag(value);
  const keys = ownKeys(ctx, value, true);
  const prefix = prefixOf(constructor, constructor === fallback ? '' : tag, fallback, `(${length})`);
  if (length === 0 && isEmpty(ctx, keys) && !ctx.showHidden) return `${prefix}[]`;
  const result = shape([`${prefix}[`, ']'], keys, kArrayType, typedArrayEntries);
  return result;
}

function typedArrayEntries(ctx, value, recurseTimes) {
  const length = TypedArrayLength(value);
  const shown = MathMin(MathMax(0, ctx.maxArrayLength), length);
  const output = [];
  for (let i = 0; i < shown; i++) {
    const item = value[i];
    append(output, typeof item === 'bigint' ? `${item}n` : numberText(item));
  }
  if (length > shown) append(output, moreItems(length - shown));
  if (ctx.showHidden) {
    ctx.indentationLvl += 2;
    append(output, `[BYTES_PER_ELEMENT]: ${elementSize(value)}`);
    append(output, `[length]: ${length}`);
    append(output, `[byteLength]: ${TypedArrayByteLength(value)}`);
    append(output, `[byteOffset]: ${TypedArrayByteOffset(value)}`);
    append(output, `[buffer]: ${formatValue(ctx, TypedArrayBuffer(value), recurseTimes, true)}`);
    ctx.indentationLvl -= 2;
  }
  return output;
}

function elementSize(value) {
  const name = TypedArrayTag(value);
  if (name === 'Int8Array' || name === 'Uint8Array' || name === 'Uint8ClampedArray') return 1;
  if (name === 'Int16Array' || name === 'Uint16Array') return 2;
  if (name === 'Int32Array' || name === 'Uint32Array' || name === 'Float32Array') return 4;
  return 8;
}

// --- Map, Set and their iterators -------------------------------------------

function collectionShape(ctx, value, constructor, tag, kind) {
  const isMap = kind === 'map';
  const size = isMap ? MapSize(value) : SetSize(value);
  const keys = ownKeys(ctx, value);
  const prefix = prefixOf(constructor, tag, isMap ? 'Map' : 'Set', `(${size})`);
  if (size === 0 && isEmpty(ctx, keys)) return `${prefix}{}`;
  return shape([`${prefix}{`, '}'], keys, kObjectType, isMap ? mapEntries : setEntries);
}

function mapEntries(ctx, value, recurseTimes) {
  return pairEntries(ctx, natives.items(value), recurseTimes, false);
}

function setEntries(ctx, value, recurseTimes) {
  return listEntries(ctx, natives.items(value), recurseTimes);
}

function listEntries(ctx, items, recurseTimes) {
  const shown = MathMin(MathMax(0, ctx.maxArrayLength), items.length);
  const output = [];
  ctx.indentationLvl += 2;
  for (let i = 0; i < shown; i++) append(output, formatValue(ctx, items[i], recurseTimes));
  ctx.indentationLvl -= 2;
  if (items.length > shown) append(output, moreItems(items.length - shown));
  return output;
}

// Key and value pairs, as "k => v" or, for iterator entries, "[ k, v ]".
function pairEntries(ctx, items, recurseTimes, asArrays) {
  const count = items.length / 2;
  const shown = MathMin(MathMax(0, ctx.maxArrayLength), count);
  const output = [];
  ctx.indentationLvl += 2;
  for (let i = 0; i < shown; i++) {
    const key = formatValue(ctx, items[2 * i], recurseTimes);
    const item = formatValue(ctx, items[2 * i + 1], recurseTimes);
    append(output, asArrays
      ? reduceToSingleString(ctx, [key, item], '', ['[', ']'], kArrayType, recurseTimes)
      : `${key} => ${item}`);
  }
  ctx.indentationLvl -= 2;
  if (count > shown) append(output, moreItems(count - shown));
  return output;
}

function iteratorShape(ctx, value, kind) {
  const preview = natives.remaining(value);
  const pairs = preview !== undefined && preview[1];
  const name = kind === 'mapIterator' ? 'Map' : 'Set';
  const result = shape([`[${name} ${pairs ? 'Entries' : 'Iterator'}] {`, '}'],
                       ownKeys(ctx, value), kObjectType, (c, v, depth) => {
                         const items = preview === undefined ? [] : preview[0];
                         return pairs ? pairEntries(c, items, depth, true) : listEntries(c, items, depth);
                       });
  return result;
}

function weakEntries(ctx, value, recurseTimes) {
  const preview = natives.remaining(value);
  if (preview === undefined) return [];
  const items = preview[0];
  if (!preview[1]) return listEntries(ctx, items, recurseTimes);
  return pairEntries(ctx, items, recurseTimes, false);
}

function unknownEntries() {
  return ['<items unknown>'];
}

function promiseEntries(ctx, value, recurseTimes) {
  const parts = natives.promiseParts(value);
  if (parts[0] === 'pending') return ['<pending>'];
  ctx.indentationLvl += 2;
  const text = formatValue(ctx, parts[1], recurseTimes);
  ctx.indentationLvl -= 2;
  return [parts[0] === 'rejected' ? `<rejected> ${text}` : text];
}

// --- buffers ------------------------------------------------------------------

function bufferShape(ctx, value, constructor, tag, kind, keys, inTypedArray) {
  const name = kind === 'arrayBuffer' ? 'ArrayBuffer' : 'SharedArrayBuffer';
  const length = kind === 'arrayBuffer' ? ArrayBufferByteLength(value)
    : SharedArrayBufferByteLength(value);
  if (inTypedArray && isEmpty(ctx, keys)) {
    return `${prefixOf(constructor, tag, name)}{ byteLength: ${length} }`;
  }
  const result = shape([`${prefixOf(constructor, tag, name)}{`, '}'], keys, kObjectType);
  result.entries = (c, v) => {
    const output = inTypedArray ? [] : bufferEntries(c, v, length);
    append(output, `byteLength: ${length}`);
    return output;
  };
  return result;
}

function bufferEntries(ctx, value, length) {
  const shown = MathMin(MathMax(0, ctx.maxArrayLength), length);
  let bytes;
  try {
    bytes = new Uint8ArrayCtor(value, 0, shown);
  } catch (error) {
    return ['(detached)']; // its memory was handed to another owner
  }
  let text = '';
  for (let i = 0; i < shown; i++) {
    const byte = bytes[i];
    text += (i === 0 ? '' : ' ') + (byte < 16 ? '0' : '') + NumberToString(byte, 16);
  }
  const remaining = length - shown;
  if (remaining > 0) text += ` ... ${remaining} more byte${remaining > 1 ? 's' : ''}`;
  return [`[Uint8Contents]: <${text}>`];
}

function dataViewShape(ctx, value, constructor, tag, keys) {
  const result = shape([`${prefixOf(constructor, tag, 'DataView')}{`, '}'], keys, kObjectType);
  result.entries = (c, v, recurseTimes) => {
    c.indentationLvl += 2;
    const buffer = formatValue(c, DataViewBuffer(v), recurseTimes);
    c.indentationLvl -= 2;
    return [`byteLength: ${DataViewByteLength(v)}`, `byteOffset: ${DataViewByteOffset(v)}`,
            `buffer: ${buffer}`];
  };
  return result;
}

// --- boxed primitives and functions --------------------------------------------

function boxedBase(ctx, value, constructor, tag, kind) {
  let primitive;
  switch (kind) {
    case 'Number': primitive = numberText(NumberValueOf(value)); break;
    case 'String': primitive = stringValue(ctx, StringValueOf(value)); break;
    case 'Boolean': primitive = `${BooleanValueOf(value)}`; break;
    case 'BigInt': primitive = `${BigIntValueOf(value)}n`; break;
    default: primitive = SymbolToString(SymbolValueOf(value)); break;
  }
  let base = `[${kind}`;
  if (kind !== constructor) base += constructor === null ? ' (null prototype)' : ` (${constructor})`;
  base += `: ${primitive}]`;
  if (tag !== '' && tag !== constructor) base += ` [${tag}]`;
  return base;
}

const classSource = /^class(?:\s|\{|$)/;

function functionBase(value, constructor, tag, kind) {
  const source = FunctionToString(value);
  if (RegExpTest(classSource, source)) return classBase(value, constructor, tag);
  let type = 'Function';
  if (kind === 'generatorFunction') type = 'GeneratorFunction';
  else if (kind === 'asyncFunction') type = 'AsyncFunction';
  else if (kind === 'asyncGeneratorFunction') type = 'AsyncGeneratorFunction';
  let base = `[${type}`;
  if (constructor === null) base += ' (null prototype)';
  const name = functionName(value);
  base += name === '' ? ' (anonymous)' : `: ${typeof name === 'symbol' ? SymbolToString(name) : name}`;
  base += ']';
  if (constructor !== type && constructor !== null) base += ` ${constructor}`;
  if (tag !== '' && constructor !== tag) base += ` [${tag}]`;
  return base;
}

function classBase(value, constructor, tag) {
  const own = functionName(value);
  const name = typeof own === 'string' && own !== '' ? own : '(anonymous)';
  let base = `class ${name}`;
  if (constructor !== 'Function' && constructor !== null) base += ` [${constructor}]`;
  if (tag !== '' && constructor !== tag) base += ` [${tag}]`;
  if (constructor !== null) {
    const parent = ReflectPrototypeOf(value);
    const parentName = parent === null || natives.kindOf(parent) === 'proxy' ? '' : functionName(parent);
    if (typeof parentName === 'string' && parentName !== '') base += ` extends ${parentName}`;
  } else {
    base += ' extends [null prototype]';
  }
  return `[${base}]`;
}

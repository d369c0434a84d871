// How console shows values: node's util.inspect and util.format rules for the
// common shapes, console.table's box-drawing table and console.trace's text.
//
// The host embeds this file at build time and compiles it once per context,
// on the first console call that needs it (never at start-up). It evaluates
// to a function that takes `natives`, the few answers only the engine's API
// gives without running script code (proxy targets, promise states, the
// internal kind of a value, entries of iterators and weak collections), and
// returns the functions the host calls. Built-in methods are taken once, when
// this is compiled, so that a script replacing them later changes nothing
// here. No getter is run and no proxy trap is hit while formatting: property
// values are read through their descriptors and proxies are looked through.
//
// The rules, and much of the code that applies them, are node's own, taken
// from its lib/internal/util/formatter.js, lib/internal/console/constructor.js
// and lib/internal/cli_table.js so that the output matches node's to the
// character. Their licence:
//
//   Copyright Node.js contributors. All rights reserved.
//
//   Permission is hereby granted, free of charge, to any person obtaining a
//   copy of this software and associated documentation files (the
//   "Software"), to deal in the Software without restriction, including
//   without limitation the rights to use, copy, modify, merge, publish,
//   distribute, sublicense, and/or sell copies of the Software, and to permit
//   persons to whom the Software is furnished to do so, subject to the
//   following conditions:
//
//   The above copyright notice and this permission notice shall be included
//   in all copies or substantial portions of the Software.
//
//   THE SOFTWARE IS PROVIDED "AS IS", WITHOUT WARRANTY OF ANY KIND, EXPRESS
//   OR IMPLIED, INCLUDING BUT NOT LIMITED TO THE WARRANTIES OF
//   MERCHANTABILITY, FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT. IN
//   NO EVENT SHALL THE AUTHORS OR COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM,
//   DAMAGES OR OTHER LIABILITY, WHETHER IN AN ACTION OF CONTRACT, TORT OR
//   OTHERWISE, ARISING FROM, OUT OF OR IN CONNECTION WITH THE SOFTWARE OR THE
//   USE OR OTHER DEALINGS IN THE SOFTWARE.
//
// Keep this file ASCII: the host hands it to the engine as one-byte text.
(function (natives) {
  'use strict';

  const {
    kindOf,           // (value) -> one of the kind names below, or ''
    proxyDetails,     // (value) -> undefined, or [target, handler] (null when revoked)
    promiseState,     // (promise) -> [0 pending | 1 fulfilled | 2 rejected, result]
    previewEntries,   // (object, isIterator) -> [entries, isKeyValue]
    internalName,     // (object) -> the engine's class name of an object
    nonIndexKeys,     // (object, showHidden) -> own keys that are not indices
    collectionItems,  // (Map | Set) -> [k0, v0, k1, v1, ...] or [v0, v1, ...]
  } = natives;

  const uncurry = (fn) => Function.prototype.call.bind(fn);
  const getter = (proto, key) => uncurry(Object.getOwnPropertyDescriptor(proto, key).get);

  const ObjectGetOwnPropertyDescriptor = Object.getOwnPropertyDescriptor;
  const ObjectGetOwnPropertyNames = Object.getOwnPropertyNames;
  const ObjectGetOwnPropertySymbols = Object.getOwnPropertySymbols;
  const ObjectGetPrototypeOf = Object.getPrototypeOf;
  const ObjectKeys = Object.keys;
  const ObjectIs = Object.is;
  const ObjectPrototype = Object.prototype;
  const FunctionPrototype = Function.prototype;
  const ObjectPrototypeHasOwnProperty = uncurry(Object.prototype.hasOwnProperty);
  const ObjectPrototypePropertyIsEnumerable = uncurry(Object.prototype.propertyIsEnumerable);
  const ArrayIsArray = Array.isArray;
  const ArrayPrototypePush = uncurry(Array.prototype.push);
  const ArrayPrototypePop = uncurry(Array.prototype.pop);
  const ArrayPrototypeSort = uncurry(Array.prototype.sort);
  const ArrayPrototypeJoin = uncurry(Array.prototype.join);
  const ArrayPrototypeIndexOf = uncurry(Array.prototype.indexOf);
  const ArrayPrototypeIncludes = uncurry(Array.prototype.includes);
  const ArrayPrototypeSplice = uncurry(Array.prototype.splice);
  const ArrayPrototypeUnshift = uncurry(Array.prototype.unshift);
  const ArrayPrototypeSlice = uncurry(Array.prototype.slice);
  const StringPrototypeCharCodeAt = uncurry(String.prototype.charCodeAt);
  const StringPrototypeCodePointAt = uncurry(String.prototype.codePointAt);
  const StringPrototypeSlice = uncurry(String.prototype.slice);
  const StringPrototypeIncludes = uncurry(String.prototype.includes);
  const StringPrototypeIndexOf = uncurry(String.prototype.indexOf);
  const StringPrototypeStartsWith = uncurry(String.prototype.startsWith);
  const StringPrototypeEndsWith = uncurry(String.prototype.endsWith);
  const StringPrototypeRepeat = uncurry(String.prototype.repeat);
  const StringPrototypePadStart = uncurry(String.prototype.padStart);
  const StringPrototypePadEnd = uncurry(String.prototype.padEnd);
  const StringPrototypeSplit = uncurry(String.prototype.split);
  const StringPrototypeReplace = uncurry(String.prototype.replace);
  const StringPrototypeNormalize = uncurry(String.prototype.normalize);
  const StringPrototypeToLowerCase = uncurry(String.prototype.toLowerCase);
  const StringPrototypeValueOf = uncurry(String.prototype.valueOf);
  const NumberPrototypeValueOf = uncurry(Number.prototype.valueOf);
  const NumberPrototypeToString = uncurry(Number.prototype.toString);
  const NumberPrototypeToFixed = uncurry(Number.prototype.toFixed);
  const BooleanPrototypeValueOf = uncurry(Boolean.prototype.valueOf);
  const BigIntPrototypeValueOf = uncurry(BigInt.prototype.valueOf);
  const SymbolPrototypeValueOf = uncurry(Symbol.prototype.valueOf);
  const SymbolPrototypeToString = uncurry(Symbol.prototype.toString);
  const DatePrototypeGetTime = uncurry(Date.prototype.getTime);
  const DatePrototypeToISOString = uncurry(Date.prototype.toISOString);
  const DatePrototypeToString = uncurry(Date.prototype.toString);
  const RegExpPrototypeToString = uncurry(RegExp.prototype.toString);
  const RegExpPrototypeExec = uncurry(RegExp.prototype.exec);
  const FunctionPrototypeToString = uncurry(Function.prototype.toString);
  const FunctionPrototypeCall = uncurry(Function.prototype.call);
  const TypedArrayPrototype = ObjectGetPrototypeOf(Uint8Array.prototype);
  const TypedArrayPrototypeGetLength = getter(TypedArrayPrototype, 'length');
  const TypedArrayPrototypeGetSymbolToStringTag = getter(TypedArrayPrototype, Symbol.toStringTag);
  const ArrayBufferPrototypeGetByteLength = getter(ArrayBuffer.prototype, 'byteLength');
  const SharedArrayBufferPrototypeGetByteLength = typeof SharedArrayBuffer === 'function' ?
    getter(SharedArrayBuffer.prototype, 'byteLength') : ArrayBufferPrototypeGetByteLength;
  const DataViewPrototypeGetByteLength = getter(DataView.prototype, 'byteLength');
  const DataViewPrototypeGetByteOffset = getter(DataView.prototype, 'byteOffset');
  const DataViewPrototypeGetBuffer = getter(DataView.prototype, 'buffer');
  const JSONStringify = JSON.stringify;
  const ErrorCaptureStackTrace = Error.captureStackTrace;
  const MathFloor = Math.floor;
  const MathMax = Math.max;
  const MathMin = Math.min;
  const MathRound = Math.round;
  const MathSqrt = Math.sqrt;
  const MathTrunc = Math.trunc;
  const MathCeil = Math.ceil;
  const NumberIsNaN = Number.isNaN;
  const NumberIsFinite = Number.isFinite;
  const NumberParseInt = Number.parseInt;
  const NumberParseFloat = Number.parseFloat;
  const StringCtor = String;
  const NumberCtor = Number;
  const RegExpCtor = RegExp;
  const Uint8ArrayCtor = Uint8Array;
  const ErrorCtor = Error;
  const TypeErrorCtor = TypeError;
  const SymbolIterator = Symbol.iterator;
  const SymbolToStringTag = Symbol.toStringTag;
  const SymbolToPrimitive = Symbol.toPrimitive;
  const customInspectSymbol = Symbol.for('nodejs.util.inspect.custom');
  const typedArrayConstructors = {
    Int8Array, Uint8Array, Uint8ClampedArray, Int16Array, Uint16Array, Int32Array, Uint32Array,
    Float32Array, Float64Array, BigInt64Array, BigUint64Array,
  };

  // The standard constructors: what counts as "built in" when deciding
  // whether an object's toString is its own (%s). A fixed list, so that the
  // script's own global functions and the bridges' classes are not counted.
  const builtInObjects = new Set([
    'Object', 'Function', 'Array', 'Number', 'Boolean', 'String', 'Symbol', 'BigInt', 'Date',
    'RegExp', 'Error', 'AggregateError', 'EvalError', 'RangeError', 'ReferenceError',
    'SyntaxError', 'TypeError', 'URIError', 'Promise', 'Map', 'Set', 'WeakMap', 'WeakSet',
    'WeakRef', 'FinalizationRegistry', 'Proxy', 'Reflect', 'JSON', 'Math', 'Intl', 'Atomics',
    'ArrayBuffer', 'SharedArrayBuffer', 'DataView', 'Int8Array', 'Uint8Array',
    'Uint8ClampedArray', 'Int16Array', 'Uint16Array', 'Int32Array', 'Uint32Array',
    'Float32Array', 'Float64Array', 'BigInt64Array', 'BigUint64Array', 'WebAssembly',
  ]);
  const builtInHas = uncurry(Set.prototype.has);
  const setAdd = uncurry(Set.prototype.add);
  const SetCtor = Set;
  const MapCtor = Map;
  const mapGet = uncurry(Map.prototype.get);
  const mapSet = uncurry(Map.prototype.set);
  const mapSize = getter(Map.prototype, 'size');
  const setSize = getter(Set.prototype, 'size');

  const defaultOptions = {
    showHidden: false,
    depth: 2,
    colors: false,
    customInspect: true,
    showProxy: false,
    maxArrayLength: 100,
    maxStringLength: 10000,
    breakLength: 80,
    compact: 3,
    sorted: false,
    getters: false,
    numericSeparator: false,
  };

  const kObjectType = 0;
  const kArrayType = 1;
  const kArrayExtrasType = 2;
  const kMinLineLength = 16;

  /* eslint-disable no-control-regex */
  const strEscapeSequencesRegExp = /[\x00-\x1f\x27\x5c\x7f-\x9f]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/;
  const strEscapeSequencesReplacer = /[\x00-\x1f\x27\x5c\x7f-\x9f]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;
  const strEscapeSequencesRegExpSingle = /[\x00-\x1f\x5c\x7f-\x9f]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/;
  const strEscapeSequencesReplacerSingle = /[\x00-\x1f\x5c\x7f-\x9f]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;
  /* eslint-enable no-control-regex */
  const keyStrRegExp = /^[a-zA-Z_][a-zA-Z_0-9]*$/;
  const numberRegExp = /^(0|[1-9][0-9]*)$/;
  const classRegExp = /^(\s+[^(]*?)\s*{/;
  const stripCommentsRegExp = /(\/\/.*?\n)|(\/\*(.|\n)*?\*\/)/g;
  const ansi = new RegExpCtor(
    '[\\u001B\\u009B][[\\]()#;?]*' +
    '(?:(?:(?:(?:;[-a-zA-Z\\d\\/\\#&.:=?%@~_]+)*' +
    '|[a-zA-Z\\d]+(?:;[-a-zA-Z\\d\\/\\#&.:=?%@~_]*)*)?' +
    '(?:\\u0007|\\u001B\\u005C|\\u009C))' +
    '|(?:(?:\\d{1,4}(?:;\\d{0,4})*)?' +
    '[\\dA-PR-TZcf-nq-uy=><~]))', 'g');

  // Escapes of the control characters, the single quote and the backslash.
  const meta = [];
  for (let i = 0; i < 0xa0; i++) {
    let text = '';
    if (i < 0x20 || (i >= 0x7f && i < 0xa0)) {
      text = '\\x' + StringPrototypePadStart(NumberPrototypeToString(i, 16).toUpperCase(), 2, '0');
    }
    meta[i] = text;
  }
  meta[8] = '\\b';
  meta[9] = '\\t';
  meta[10] = '\\n';
  meta[12] = '\\f';
  meta[13] = '\\r';
  meta[39] = "\\'";
  meta[92] = '\\\\';

  // --- reading without running script code -------------------------------

  // The object itself, or the innermost target of a proxy (null: revoked).
  function unwrap(value) {
    for (let hops = 0; hops < 10000; hops++) {
      const details = proxyDetails(value);
      if (details === undefined) return value;
      if (details[0] === null) return null;
      value = details[0];
    }
    return null;
  }

  function protoOf(object) {
    const target = unwrap(object);
    if (target === null || (typeof target !== 'object' && typeof target !== 'function')) {
      return null;
    }
    return ObjectGetPrototypeOf(target);
  }

  // The descriptor of `key` on the object or the first prototype that has it.
  function lookup(object, key) {
    let current = unwrap(object);
    for (let hops = 0; current !== null && hops < 10000; hops++) {
      if (typeof current !== 'object' && typeof current !== 'function') return undefined;
      const desc = ObjectGetOwnPropertyDescriptor(current, key);
      if (desc !== undefined) return desc;
      current = unwrap(ObjectGetPrototypeOf(current));
    }
    return undefined;
  }

  // A property's value when it is a data property (accessors are not run).
  function dataValue(object, key) {
    const desc = lookup(object, key);
    return desc === undefined ? undefined : desc.value;
  }

  function hasProperty(object, key) {
    return lookup(object, key) !== undefined;
  }

  // `object instanceof ctor` by walking prototypes, without
  // Symbol.hasInstance or proxy traps.
  function isInstance(object, ctor) {
    const proto = dataValue(ctor, 'prototype');
    if (proto === null || (typeof proto !== 'object' && typeof proto !== 'function')) return false;
    let current = protoOf(object);
    for (let hops = 0; current !== null && hops < 10000; hops++) {
      if (current === proto) return true;
      current = protoOf(current);
    }
    return false;
  }

  // A text for any value, even one whose conversion throws.
  function safeString(value) {
    try {
      return `${value}`;
    } catch (err) {
      return inspect(value, { depth: 0 });
    }
  }

  function isError(value) {
    return kindOf(value) === 'Error' || isInstance(value, ErrorCtor);
  }

  function isStackOverflowError(err) {
    return err !== null && typeof err === 'object' && kindOf(err) === 'Error' &&
      dataValue(err, 'name') === 'RangeError' &&
      dataValue(err, 'message') === 'Maximum call stack size exceeded';
  }

  // --- options ---------------------------------------------------------------

  function makeContext(options) {
    const ctx = {
      budget: {},
      indentationLvl: 0,
      seen: [],
      currentDepth: 0,
      stylize: stylizeNoColor,
      showHidden: defaultOptions.showHidden,
      depth: defaultOptions.depth,
      colors: false,
      customInspect: defaultOptions.customInspect,
      showProxy: defaultOptions.showProxy,
      maxArrayLength: defaultOptions.maxArrayLength,
      maxStringLength: defaultOptions.maxStringLength,
      breakLength: defaultOptions.breakLength,
      compact: defaultOptions.compact,
      sorted: defaultOptions.sorted,
      getters: defaultOptions.getters,
      numericSeparator: defaultOptions.numericSeparator,
    };
    if (options !== null && typeof options === 'object') {
      const keys = ObjectKeys(options);
      for (let i = 0; i < keys.length; i++) {
        const key = keys[i];
        if (ObjectPrototypeHasOwnProperty(defaultOptions, key) || key === 'stylize') {
          ctx[key] = options[key];
        } else if (ctx.userOptions === undefined) {
          ctx.userOptions = options;
        }
      }
    } else if (typeof options === 'boolean') {
      ctx.showHidden = options;
    }
    // Output is plain text: colours are never written.
    ctx.colors = false;
    if (typeof ctx.stylize !== 'function') ctx.stylize = stylizeNoColor;
    if (ctx.maxArrayLength === null) ctx.maxArrayLength = Infinity;
    if (ctx.maxStringLength === null) ctx.maxStringLength = Infinity;
    return ctx;
  }

  function inspect(value, options) {
    const ctx = makeContext(options);
    if (arguments.length > 2 && arguments[2] !== undefined) ctx.depth = arguments[2];
    return formatValue(ctx, value, 0);
  }
  inspect.custom = customInspectSymbol;
  inspect.defaultOptions = defaultOptions;

  function stylizeNoColor(text) {
    return text;
  }

  // --- primitives ------------------------------------------------------------

  function addQuotes(text, quotes) {
    if (quotes === -1) return `"${text}"`;
    if (quotes === -2) return `\`${text}\``;
    return `'${text}'`;
  }

  function escapeFn(text) {
    const charCode = StringPrototypeCharCodeAt(text, 0);
    return meta.length > charCode ? meta[charCode] : `\\u${NumberPrototypeToString(charCode, 16)}`;
  }

  // Quotes a text, picking single quotes unless it holds one, and escapes
  // control characters, the quote and the backslash.
  function strEscape(str) {
    let escapeTest = strEscapeSequencesRegExp;
    let escapeReplace = strEscapeSequencesReplacer;
    let singleQuote = 39;
    if (StringPrototypeIncludes(str, "'")) {
      if (!StringPrototypeIncludes(str, '"')) {
        singleQuote = -1;
      } else if (!StringPrototypeIncludes(str, '`') && !StringPrototypeIncludes(str, '${')) {
        singleQuote = -2;
      }
      if (singleQuote !== 39) {
        escapeTest = strEscapeSequencesRegExpSingle;
        escapeReplace = strEscapeSequencesReplacerSingle;
      }
    }
    if (str.length < 5000 && RegExpPrototypeExec(escapeTest, str) === null) {
      return addQuotes(str, singleQuote);
    }
    if (str.length > 100) {
      escapeReplace.lastIndex = 0;
      return addQuotes(StringPrototypeReplace(str, escapeReplace, escapeFn), singleQuote);
    }
    let result = '';
    let last = 0;
    for (let i = 0; i < str.length; i++) {
      const point = StringPrototypeCharCodeAt(str, i);
      if (point === singleQuote || point === 92 || point < 32 || (point > 126 && point < 160)) {
        result += last === i ? meta[point] : `${StringPrototypeSlice(str, last, i)}${meta[point]}`;
        last = i + 1;
      } else if (point >= 0xd800 && point <= 0xdfff) {
        if (point <= 0xdbff && i + 1 < str.length) {
          const next = StringPrototypeCharCodeAt(str, i + 1);
          if (next >= 0xdc00 && next <= 0xdfff) {
            i++;
            continue;
          }
        }
        result += `${StringPrototypeSlice(str, last, i)}\\u${NumberPrototypeToString(point, 16)}`;
        last = i + 1;
      }
    }
    if (last !== str.length) result += StringPrototypeSlice(str, last);
    return addQuotes(result, singleQuote);
  }

  function addNumericSeparator(integerString) {
    let result = '';
    let i = integerString.length;
    const start = integerString[0] === '-' ? 1 : 0;
    for (; i >= start + 4; i -= 3) {
      result = `_${StringPrototypeSlice(integerString, i - 3, i)}${result}`;
    }
    return i === integerString.length ? integerString :
      `${StringPrototypeSlice(integerString, 0, i)}${result}`;
  }

  function addNumericSeparatorEnd(integerString) {
    let result = '';
    let i = 0;
    for (; i < integerString.length - 3; i += 3) {
      result += `${StringPrototypeSlice(integerString, i, i + 3)}_`;
    }
    return i === 0 ? integerString : `${result}${StringPrototypeSlice(integerString, i)}`;
  }

  function formatNumber(fn, number, numericSeparator) {
    if (!numericSeparator) {
      if (ObjectIs(number, -0)) return fn('-0', 'number');
      return fn(`${number}`, 'number');
    }
    const numberString = StringCtor(number);
    const integer = MathTrunc(number);
    if (integer === number) {
      if (!NumberIsFinite(number) || StringPrototypeIncludes(numberString, 'e')) {
        return fn(numberString, 'number');
      }
      return fn(addNumericSeparator(numberString), 'number');
    }
    if (NumberIsNaN(number)) return fn(numberString, 'number');
    const decimalIndex = StringPrototypeIndexOf(numberString, '.');
    const integerPart = StringPrototypeSlice(numberString, 0, decimalIndex);
    const fractionalPart = StringPrototypeSlice(numberString, decimalIndex + 1);
    return fn(`${addNumericSeparator(integerPart)}.${addNumericSeparatorEnd(fractionalPart)}`,
              'number');
  }

  function formatBigInt(fn, bigint, numericSeparator) {
    const text = StringCtor(bigint);
    return fn(`${numericSeparator ? addNumericSeparator(text) : text}n`, 'bigint');
  }

  function formatPrimitive(fn, value, ctx) {
    if (typeof value === 'string') {
      let trailer = '';
      if (value.length > ctx.maxStringLength) {
        const remaining = value.length - ctx.maxStringLength;
        value = StringPrototypeSlice(value, 0, ctx.maxStringLength);
        trailer = `... ${remaining} more character${remaining > 1 ? 's' : ''}`;
      }
      if (ctx.compact !== true && value.length > kMinLineLength &&
          value.length > ctx.breakLength - ctx.indentationLvl - 4) {
        // Long texts are shown one line of theirs per output line.
        const lines = [];
        let start = 0;
        for (;;) {
          const end = StringPrototypeIndexOf(value, '\n', start);
          if (end === -1 || end === value.length - 1) {
            ArrayPrototypePush(lines, fn(strEscape(StringPrototypeSlice(value, start)), 'string'));
            break;
          }
          ArrayPrototypePush(lines, fn(strEscape(StringPrototypeSlice(value, start, end + 1)),
                                       'string'));
          start = end + 1;
        }
        return ArrayPrototypeJoin(lines, ` +\n${StringPrototypeRepeat(' ', ctx.indentationLvl + 2)}`) +
          trailer;
      }
      return fn(strEscape(value), 'string') + trailer;
    }
    if (typeof value === 'number') return formatNumber(fn, value, ctx.numericSeparator);
    if (typeof value === 'bigint') return formatBigInt(fn, value, ctx.numericSeparator);
    if (typeof value === 'boolean') return fn(`${value}`, 'boolean');
    if (typeof value === 'undefined') return fn('undefined', 'undefined');
    return fn(SymbolPrototypeToString(value), 'symbol');
  }

  // --- names and prefixes ------------------------------------------------------

  // The name of the first constructor on the prototype chain whose
  // `prototype` the value inherits from; null for a null-prototype chain.
  function getConstructorName(obj, ctx, recurseTimes, protoProps) {
    let firstProto;
    const tmp = obj;
    let hops = 0;
    while (obj !== null && obj !== undefined && hops++ < 10000) {
      if (obj === ObjectPrototype && isInstance(tmp, Object)) {
        if (protoProps !== undefined && firstProto !== obj) {
          addPrototypeProperties(ctx, tmp, firstProto || tmp, recurseTimes, protoProps);
        }
        return 'Object';
      }
      if (obj === FunctionPrototype && isInstance(tmp, Function)) {
        if (protoProps !== undefined && firstProto !== obj) {
          addPrototypeProperties(ctx, tmp, firstProto || tmp, recurseTimes, protoProps);
        }
        return 'Function';
      }
      const target = unwrap(obj);
      const descriptor = target === null ? undefined :
        ObjectGetOwnPropertyDescriptor(target, 'constructor');
      if (descriptor !== undefined && typeof descriptor.value === 'function') {
        const name = dataValue(descriptor.value, 'name');
        if (typeof name === 'string' && name !== '' && isInstance(tmp, descriptor.value)) {
          if (protoProps !== undefined &&
              (firstProto !== obj || !builtInHas(builtInObjects, name))) {
            addPrototypeProperties(ctx, tmp, firstProto || tmp, recurseTimes, protoProps);
          }
          return name;
        }
      }
      obj = protoOf(obj);
      if (firstProto === undefined) firstProto = obj;
    }
    if (firstProto === null) return null;
    const res = internalName(tmp);
    if (recurseTimes > ctx.depth && ctx.depth !== null) return `${res} <Complex prototype>`;
    const protoConstr = getConstructorName(firstProto, ctx, recurseTimes + 1, protoProps);
    if (protoConstr === null) {
      return `${res} <${inspect(firstProto, { ...ctx, customInspect: false, depth: -1 })}>`;
    }
    return `${res} <${protoConstr}>`;
  }

  // With showHidden, what the prototypes (up to three) add that is not a
  // method, shown after the object's own properties.
  function addPrototypeProperties(ctx, main, obj, recurseTimes, output) {
    let depth = 0;
    let keys;
    let keySet;
    do {
      if (depth !== 0 || main === obj) {
        obj = protoOf(obj);
        if (obj === null) return;
        const descriptor = ObjectGetOwnPropertyDescriptor(unwrap(obj), 'constructor');
        if (descriptor !== undefined && typeof descriptor.value === 'function' &&
            builtInHas(builtInObjects, dataValue(descriptor.value, 'name'))) {
          return;
        }
      }
      if (depth === 0) {
        keySet = new SetCtor();
      } else {
        for (let i = 0; i < keys.length; i++) setAdd(keySet, keys[i]);
      }
      const target = unwrap(obj);
      keys = ObjectGetOwnPropertyNames(target);
      const symbols = ObjectGetOwnPropertySymbols(target);
      for (let i = 0; i < symbols.length; i++) ArrayPrototypePush(keys, symbols[i]);
      ArrayPrototypePush(ctx.seen, main);
      for (let i = 0; i < keys.length; i++) {
        const key = keys[i];
        if (key === 'constructor' || ObjectPrototypeHasOwnProperty(main, key) ||
            (depth !== 0 && builtInHas(keySet, key))) {
          continue;
        }
        const desc = ObjectGetOwnPropertyDescriptor(target, key);
        if (typeof desc.value === 'function') continue;
        ArrayPrototypePush(output, formatProperty(ctx, target, recurseTimes, key, kObjectType, desc,
                                                  main));
      }
      ArrayPrototypePop(ctx.seen);
    } while (++depth !== 3);
  }

  function getPrefix(constructor, tag, fallback, size = '') {
    if (constructor === null) {
      if (tag !== '' && fallback !== tag) return `[${fallback}${size}: null prototype] [${tag}] `;
      return `[${fallback}${size}: null prototype] `;
    }
    if (tag !== '' && constructor !== tag) return `${constructor}${size} [${tag}] `;
    return `${constructor}${size} `;
  }

  // Own enumerable keys, then enumerable symbols (all of them with showHidden).
  function getKeys(value, showHidden) {
    let keys;
    const symbols = ObjectGetOwnPropertySymbols(value);
    if (showHidden) {
      keys = ObjectGetOwnPropertyNames(value);
      for (let i = 0; i < symbols.length; i++) ArrayPrototypePush(keys, symbols[i]);
    } else {
      keys = ObjectKeys(value);
      for (let i = 0; i < symbols.length; i++) {
        if (ObjectPrototypePropertyIsEnumerable(value, symbols[i])) {
          ArrayPrototypePush(keys, symbols[i]);
        }
      }
    }
    return keys;
  }

  function getCtxStyle(value, constructor, tag) {
    let fallback = '';
    if (constructor === null) {
      fallback = internalName(value);
      if (fallback === tag) fallback = 'Object';
    }
    return getPrefix(constructor, tag, fallback);
  }

  // --- values -------------------------------------------------------------------

  function formatProxy(ctx, proxy, recurseTimes) {
    if (recurseTimes > ctx.depth && ctx.depth !== null) {
      return ctx.stylize('Proxy [Array]', 'special');
    }
    recurseTimes += 1;
    ctx.indentationLvl += 2;
    const res = [formatValue(ctx, proxy[0], recurseTimes), formatValue(ctx, proxy[1], recurseTimes)];
    ctx.indentationLvl -= 2;
    return reduceToSingleString(ctx, res, '', ['Proxy [', ']'], kArrayExtrasType, recurseTimes);
  }

  function formatValue(ctx, value, recurseTimes, typedArray) {
    if (typeof value !== 'object' && typeof value !== 'function') {
      return formatPrimitive(ctx.stylize, value, ctx);
    }
    if (value === null) return ctx.stylize('null', 'null');

    const context = value;
    const proxy = proxyDetails(value);
    if (proxy !== undefined) {
      if (proxy[0] === null) return ctx.stylize('<Revoked Proxy>', 'special');
      if (ctx.showProxy) return formatProxy(ctx, proxy, recurseTimes);
      value = unwrap(value);
      if (value === null) return ctx.stylize('<Revoked Proxy>', 'special');
    }

    if (ctx.customInspect) {
      const maybeCustom = dataValue(value, customInspectSymbol);
      if (typeof maybeCustom === 'function' && maybeCustom !== inspect) {
        const ctor = dataValue(value, 'constructor');
        const isPrototype = (typeof ctor === 'function' || (typeof ctor === 'object' && ctor)) &&
          dataValue(ctor, 'prototype') === value;
        if (!isPrototype) {
          const depth = ctx.depth === null ? null : ctx.depth - recurseTimes;
          const options = { ...ctx, ...ctx.userOptions };
          delete options.budget;
          delete options.indentationLvl;
          delete options.seen;
          delete options.currentDepth;
          delete options.userOptions;
          delete options.circular;
          let ret;
          let failed = false;
          try {
            ret = FunctionPrototypeCall(maybeCustom, context, depth, options, inspect);
          } catch (err) {
            // A custom inspector that throws: the value is shown as usual.
            failed = true;
          }
          if (!failed && ret !== context) {
            if (typeof ret !== 'string') return formatValue(ctx, ret, recurseTimes);
            return ArrayPrototypeJoin(StringPrototypeSplit(ret, '\n'),
                                      `\n${StringPrototypeRepeat(' ', ctx.indentationLvl)}`);
          }
        }
      }
    }

    if (ArrayPrototypeIncludes(ctx.seen, value)) {
      let index = 1;
      if (ctx.circular === undefined) {
        ctx.circular = new MapCtor();
        mapSet(ctx.circular, value, index);
      } else {
        index = mapGet(ctx.circular, value);
        if (index === undefined) {
          index = mapSize(ctx.circular) + 1;
          mapSet(ctx.circular, value, index);
        }
      }
      return ctx.stylize(`[Circular *${index}]`, 'special');
    }
    return formatRaw(ctx, value, recurseTimes, typedArray);
  }

  // The own string tag, when it is a data property that is neither own and
  // enumerable (shown with the keys then) nor the class name.
  function getTag(value, kind, ctx) {
    let tag;
    if (kind === 'TypedArray') {
      tag = TypedArrayPrototypeGetSymbolToStringTag(value);
    } else {
      tag = dataValue(value, SymbolToStringTag);
    }
    if (typeof tag !== 'string' ||
        (tag !== '' &&
         (ctx.showHidden ? ObjectPrototypeHasOwnProperty : ObjectPrototypePropertyIsEnumerable)(
           value, SymbolToStringTag))) {
      return '';
    }
    return tag;
  }

  function formatRaw(ctx, value, recurseTimes, typedArray) {
    let keys;
    let protoProps;
    if (ctx.showHidden && (recurseTimes <= ctx.depth || ctx.depth === null)) protoProps = [];
    const constructor = getConstructorName(value, ctx, recurseTimes, protoProps);
    if (protoProps !== undefined && protoProps.length === 0) protoProps = undefined;

    const kind = kindOf(value);
    const tag = getTag(value, kind, ctx);
    let base = '';
    let formatter = getEmptyFormatArray;
    let braces;
    let noIterator = true;
    let extrasType = kObjectType;

    if (hasProperty(value, SymbolIterator) || constructor === null) {
      noIterator = false;
      if (ArrayIsArray(value)) {
        const prefix = (constructor !== 'Array' || tag !== '') ?
          getPrefix(constructor, tag, 'Array', `(${value.length})`) : '';
        keys = nonIndexKeys(value, ctx.showHidden);
        braces = [`${prefix}[`, ']'];
        if (value.length === 0 && keys.length === 0 && protoProps === undefined) {
          return `${braces[0]}]`;
        }
        extrasType = kArrayExtrasType;
        formatter = formatArray;
      } else if (kind === 'Set') {
        const size = setSize(value);
        const prefix = getPrefix(constructor, tag, 'Set', `(${size})`);
        keys = getKeys(value, ctx.showHidden);
        formatter = formatSet;
        if (size === 0 && keys.length === 0 && protoProps === undefined) return `${prefix}{}`;
        braces = [`${prefix}{`, '}'];
      } else if (kind === 'Map') {
        const size = mapSize(value);
        const prefix = getPrefix(constructor, tag, 'Map', `(${size})`);
        keys = getKeys(value, ctx.showHidden);
        formatter = formatMap;
        if (size === 0 && keys.length === 0 && protoProps === undefined) return `${prefix}{}`;
        braces = [`${prefix}{`, '}'];
      } else if (kind === 'TypedArray') {
        keys = nonIndexKeys(value, ctx.showHidden);
        let bound = value;
        let fallback = '';
        if (constructor === null) {
          fallback = TypedArrayPrototypeGetSymbolToStringTag(value);
          bound = new typedArrayConstructors[fallback](value);
        }
        const size = TypedArrayPrototypeGetLength(value);
        const prefix = getPrefix(constructor, tag, fallback, `(${size})`);
        braces = [`${prefix}[`, ']'];
        if (size === 0 && keys.length === 0 && !ctx.showHidden) return `${braces[0]}]`;
        formatter = (c, v, r) => formatTypedArray(bound, size, c, v, r);
        extrasType = kArrayExtrasType;
      } else if (kind === 'MapIterator') {
        keys = getKeys(value, ctx.showHidden);
        braces = getIteratorBraces('Map', tag);
        formatter = (c, v, r) => formatIterator(braces, c, v, r);
      } else if (kind === 'SetIterator') {
        keys = getKeys(value, ctx.showHidden);
        braces = getIteratorBraces('Set', tag);
        formatter = (c, v, r) => formatIterator(braces, c, v, r);
      } else {
        noIterator = true;
      }
    }
    if (noIterator) {
      keys = getKeys(value, ctx.showHidden);
      braces = ['{', '}'];
      if (typeof value === 'function') {
        base = getFunctionBase(value, constructor, tag, kind);
        if (keys.length === 0 && protoProps === undefined) return ctx.stylize(base, 'special');
      } else if (constructor === 'Object') {
        if (kind === 'Arguments') {
          braces[0] = '[Arguments] {';
        } else if (tag !== '') {
          braces[0] = `${getPrefix(constructor, tag, 'Object')}{`;
        }
        if (keys.length === 0 && protoProps === undefined) return `${braces[0]}}`;
      } else if (kind === 'RegExp') {
        base = RegExpPrototypeToString(constructor !== null ? value : new RegExpCtor(value));
        const prefix = getPrefix(constructor, tag, 'RegExp');
        if (prefix !== 'RegExp ') base = `${prefix}${base}`;
        if ((keys.length === 0 && protoProps === undefined) ||
            (recurseTimes > ctx.depth && ctx.depth !== null)) {
          return ctx.stylize(base, 'regexp');
        }
      } else if (kind === 'Date') {
        base = NumberIsNaN(DatePrototypeGetTime(value)) ? DatePrototypeToString(value) :
          DatePrototypeToISOString(value);
        const prefix = getPrefix(constructor, tag, 'Date');
        if (prefix !== 'Date ') base = `${prefix}${base}`;
        if (keys.length === 0 && protoProps === undefined) return ctx.stylize(base, 'date');
      } else if (kind === 'Error' || isError(value)) {
        base = formatError(value, constructor, tag, ctx, keys);
        if (keys.length === 0 && protoProps === undefined) return base;
      } else if (kind === 'ArrayBuffer' || kind === 'SharedArrayBuffer') {
        const prefix = getPrefix(constructor, tag, kind);
        const byteLength = kind === 'ArrayBuffer' ? ArrayBufferPrototypeGetByteLength(value) :
          SharedArrayBufferPrototypeGetByteLength(value);
        if (typedArray === undefined) {
          formatter = formatArrayBuffer;
        } else if (keys.length === 0 && protoProps === undefined) {
          return prefix + `{ byteLength: ${formatNumber(ctx.stylize, byteLength, false)} }`;
        }
        braces[0] = `${prefix}{`;
        ArrayPrototypeUnshift(keys, { special: 'byteLength', value: byteLength });
      } else if (kind === 'DataView') {
        braces[0] = `${getPrefix(constructor, tag, 'DataView')}{`;
        ArrayPrototypeUnshift(keys,
                              { special: 'byteLength', value: DataViewPrototypeGetByteLength(value) },
                              { special: 'byteOffset', value: DataViewPrototypeGetByteOffset(value) },
                              { special: 'buffer', value: DataViewPrototypeGetBuffer(value) });
      } else if (kind === 'Promise') {
        braces[0] = `${getPrefix(constructor, tag, 'Promise')}{`;
        formatter = formatPromise;
      } else if (kind === 'WeakSet') {
        braces[0] = `${getPrefix(constructor, tag, 'WeakSet')}{`;
        formatter = ctx.showHidden ? formatWeakSet : formatWeakCollection;
      } else if (kind === 'WeakMap') {
        braces[0] = `${getPrefix(constructor, tag, 'WeakMap')}{`;
        formatter = ctx.showHidden ? formatWeakMap : formatWeakCollection;
      } else if (kind === 'Number' || kind === 'String' || kind === 'Boolean' ||
                 kind === 'BigInt' || kind === 'Symbol') {
        base = getBoxedBase(value, ctx, keys, constructor, tag, kind);
        if (keys.length === 0 && protoProps === undefined) return base;
      } else {
        if (keys.length === 0 && protoProps === undefined) {
          if (kind === 'External') return ctx.stylize('[External: <address>]', 'special');
          return `${getCtxStyle(value, constructor, tag)}{}`;
        }
        braces[0] = `${getCtxStyle(value, constructor, tag)}{`;
      }
    }

    if (recurseTimes > ctx.depth && ctx.depth !== null) {
      let constructorName = StringPrototypeSlice(getCtxStyle(value, constructor, tag), 0, -1);
      if (constructor !== null) constructorName = `[${constructorName}]`;
      return ctx.stylize(constructorName, 'special');
    }
    recurseTimes += 1;
    ArrayPrototypePush(ctx.seen, value);
    ctx.currentDepth = recurseTimes;
    let output;
    const indentationLvl = ctx.indentationLvl;
    try {
      output = formatter(ctx, value, recurseTimes);
      for (let i = 0; i < keys.length; i++) {
        ArrayPrototypePush(output, formatProperty(ctx, value, recurseTimes, keys[i], extrasType));
      }
      if (protoProps !== undefined) {
        for (let i = 0; i < protoProps.length; i++) ArrayPrototypePush(output, protoProps[i]);
      }
    } catch (err) {
      if (!isStackOverflowError(err)) throw err;
      const constructorName = StringPrototypeSlice(getCtxStyle(value, constructor, tag), 0, -1);
      ArrayPrototypePop(ctx.seen);
      ctx.indentationLvl = indentationLvl;
      return ctx.stylize(`[${constructorName}: Inspection interrupted prematurely. ` +
                         'Maximum call stack size exceeded.]', 'special');
    }
    if (ctx.circular !== undefined) {
      const index = mapGet(ctx.circular, value);
      if (index !== undefined) {
        const reference = ctx.stylize(`<ref *${index}>`, 'special');
        if (ctx.compact !== true) {
          base = base === '' ? reference : `${reference} ${base}`;
        } else {
          braces[0] = `${reference} ${braces[0]}`;
        }
      }
    }
    ArrayPrototypePop(ctx.seen);

    if (ctx.sorted) {
      const comparator = ctx.sorted === true ? undefined : ctx.sorted;
      if (extrasType === kObjectType) {
        ArrayPrototypeSort(output, comparator);
      } else if (keys.length > 1) {
        const sorted = ArrayPrototypeSort(
          ArrayPrototypeSlice(output, output.length - keys.length), comparator);
        ArrayPrototypeSplice(output, output.length - keys.length, keys.length, ...sorted);
      }
    }

    const res = reduceToSingleString(ctx, output, base, braces, extrasType, recurseTimes, value);
    const budget = ctx.budget[ctx.indentationLvl] || 0;
    const newLength = budget + res.length;
    ctx.budget[ctx.indentationLvl] = newLength;
    // Past about 128 MiB of text, the rest is shown at the least depth, so
    // that a huge structure ends in time and within the engine's string size.
    if (newLength > 2 ** 27) ctx.depth = -1;
    return res;
  }

  function getEmptyFormatArray() {
    return [];
  }

  function getIteratorBraces(type, tag) {
    if (tag !== `${type} Iterator`) {
      if (tag !== '') tag += '] [';
      tag += `${type} Iterator`;
    }
    return [`[${tag}] {`, '}'];
  }

  function getBoxedBase(value, ctx, keys, constructor, tag, type) {
    let fn;
    if (type === 'Number') {
      fn = NumberPrototypeValueOf;
    } else if (type === 'String') {
      fn = StringPrototypeValueOf;
      // The indices of a boxed text only repeat it.
      ArrayPrototypeSplice(keys, 0, StringPrototypeValueOf(value).length);
    } else if (type === 'Boolean') {
      fn = BooleanPrototypeValueOf;
    } else if (type === 'BigInt') {
      fn = BigIntPrototypeValueOf;
    } else {
      fn = SymbolPrototypeValueOf;
    }
    let base = `[${type}`;
    if (type !== constructor) {
      base += constructor === null ? ' (null prototype)' : ` (${constructor})`;
    }
    base += `: ${formatPrimitive(stylizeNoColor, fn(value), ctx)}]`;
    if (tag !== '' && tag !== constructor) base += ` [${tag}]`;
    if (keys.length !== 0 || ctx.stylize === stylizeNoColor) return base;
    return ctx.stylize(base, StringPrototypeToLowerCase(type));
  }

  function getClassBase(value, constructor, tag) {
    const hasName = ObjectPrototypeHasOwnProperty(value, 'name');
    const name = (hasName && dataValue(value, 'name')) || '(anonymous)';
    let base = `class ${name}`;
    if (constructor !== 'Function' && constructor !== null) base += ` [${constructor}]`;
    if (tag !== '' && constructor !== tag) base += ` [${tag}]`;
    if (constructor !== null) {
      const superName = dataValue(protoOf(value), 'name');
      if (superName) base += ` extends ${superName}`;
    } else {
      base += ' extends [null prototype]';
    }
    return `[${base}]`;
  }

  function getFunctionBase(value, constructor, tag, kind) {
    let stringified = '';
    try {
      stringified = FunctionPrototypeToString(value);
    } catch (err) {
      // Not a function the engine can print (nothing to learn from it).
    }
    if (StringPrototypeStartsWith(stringified, 'class') &&
        stringified[stringified.length - 1] === '}') {
      const slice = StringPrototypeSlice(stringified, 5, -1);
      const bracketIndex = StringPrototypeIndexOf(slice, '{');
      if (bracketIndex !== -1 &&
          (!StringPrototypeIncludes(StringPrototypeSlice(slice, 0, bracketIndex), '(') ||
           RegExpPrototypeExec(classRegExp,
                               StringPrototypeReplace(slice, stripCommentsRegExp, '')) !== null)) {
        return getClassBase(value, constructor, tag);
      }
    }
    let type = 'Function';
    if (kind === 'GeneratorFunction' || kind === 'AsyncGeneratorFunction') type = `Generator${type}`;
    if (kind === 'AsyncFunction' || kind === 'AsyncGeneratorFunction') type = `Async${type}`;
    let base = `[${type}`;
    if (constructor === null) base += ' (null prototype)';
    const name = dataValue(value, 'name');
    if (name === '' || name === undefined) {
      base += ' (anonymous)';
    } else {
      base += `: ${typeof name === 'string' ? name : safeString(name)}`;
    }
    base += ']';
    if (constructor !== type && constructor !== null) base += ` ${constructor}`;
    if (tag !== '' && constructor !== tag) base += ` [${tag}]`;
    return base;
  }

  // --- errors -------------------------------------------------------------------

  function getStackString(error) {
    const stack = dataValue(error, 'stack');
    if (stack) return typeof stack === 'string' ? stack : safeString(stack);
    return errorToString(error);
  }

  // Error.prototype.toString's text, from data properties only.
  function errorToString(error) {
    let name = dataValue(error, 'name');
    let message = dataValue(error, 'message');
    name = name === undefined ? 'Error' : safeString(name);
    message = message === undefined ? '' : safeString(message);
    if (name === '') return message;
    if (message === '') return name;
    return `${name}: ${message}`;
  }

  function identicalSequenceRange(a, b) {
    for (let i = 0; i < a.length - 3; i++) {
      const pos = ArrayPrototypeIndexOf(b, a[i]);
      if (pos !== -1) {
        const rest = b.length - pos;
        if (rest > 3) {
          let len = 1;
          const maxLen = MathMin(a.length - i, rest);
          while (maxLen > len && a[i + len] === b[pos + len]) len++;
          if (len > 3) return { len, offset: i };
        }
      }
    }
    return { len: 0, offset: 0 };
  }

  function getStackFrames(ctx, err, stack) {
    const frames = StringPrototypeSplit(stack, '\n');
    const cause = dataValue(err, 'cause');
    // Frames the cause's stack repeats are summed up.
    if (cause !== null && cause !== undefined && typeof cause === 'object' && isError(cause)) {
      const causeStack = getStackString(cause);
      const causeStackStart = StringPrototypeIndexOf(causeStack, '\n    at');
      if (causeStackStart !== -1) {
        const causeFrames = StringPrototypeSplit(StringPrototypeSlice(causeStack, causeStackStart + 1),
                                                 '\n');
        const { len, offset } = identicalSequenceRange(frames, causeFrames);
        if (len > 0) {
          const skipped = len - 2;
          const msg = `    ... ${skipped} lines matching cause stack trace ...`;
          ArrayPrototypeSplice(frames, offset + 1, skipped, ctx.stylize(msg, 'undefined'));
        }
      }
    }
    return frames;
  }

  function improveStack(stack, constructor, name, tag) {
    let len = name.length;
    if (constructor === null ||
        (StringPrototypeEndsWith(name, 'Error') && StringPrototypeStartsWith(stack, name) &&
         (stack.length === len || stack[len] === ':' || stack[len] === '\n'))) {
      let fallback = 'Error';
      if (constructor === null) {
        const start = RegExpPrototypeExec(/^([A-Z][a-z_ A-Z0-9[\]()-]+)(?::|\n {4}at)/, stack) ||
          RegExpPrototypeExec(/^([a-z_A-Z0-9-]*Error)$/, stack);
        fallback = (start && start[1]) || '';
        len = fallback.length;
        fallback = fallback || 'Error';
      }
      const prefix = StringPrototypeSlice(getPrefix(constructor, tag, fallback), 0, -1);
      if (name !== prefix) {
        if (StringPrototypeIncludes(prefix, name)) {
          stack = len === 0 ? `${prefix}: ${stack}` : `${prefix}${StringPrototypeSlice(stack, len)}`;
        } else {
          stack = `${prefix} [${name}]${StringPrototypeSlice(stack, len)}`;
        }
      }
    }
    return stack;
  }

  function removeDuplicateErrorKeys(ctx, keys, err, stack) {
    if (!ctx.showHidden && keys.length !== 0) {
      const names = ['name', 'message', 'stack'];
      for (let n = 0; n < names.length; n++) {
        const index = ArrayPrototypeIndexOf(keys, names[n]);
        if (index !== -1) {
          const value = dataValue(err, names[n]);
          if (StringPrototypeIncludes(stack, value === undefined ? 'undefined' : safeString(value))) {
            ArrayPrototypeSplice(keys, index, 1);
          }
        }
      }
    }
  }

  function formatError(err, constructor, tag, ctx, keys) {
    const rawName = dataValue(err, 'name');
    const name = rawName !== null && rawName !== undefined ? safeString(rawName) : 'Error';
    let stack = getStackString(err);
    removeDuplicateErrorKeys(ctx, keys, err, stack);
    if (hasProperty(err, 'cause') && (keys.length === 0 || !ArrayPrototypeIncludes(keys, 'cause'))) {
      ArrayPrototypePush(keys, 'cause');
    }
    const errors = dataValue(err, 'errors');
    if (ArrayIsArray(errors) && (keys.length === 0 || !ArrayPrototypeIncludes(keys, 'errors'))) {
      ArrayPrototypePush(keys, 'errors');
    }
    stack = improveStack(stack, constructor, name, tag);

    const rawMessage = dataValue(err, 'message');
    const message = rawMessage === undefined || rawMessage === null ? rawMessage :
      safeString(rawMessage);
    let pos = (message && StringPrototypeIndexOf(stack, message)) || -1;
    if (pos !== -1) pos += message.length;
    const stackStart = StringPrototypeIndexOf(stack, '\n    at', pos);
    if (stackStart === -1) {
      stack = `[${stack}]`;
    } else {
      const lines = getStackFrames(ctx, err, StringPrototypeSlice(stack, stackStart + 1));
      stack = `${StringPrototypeSlice(stack, 0, stackStart)}\n${ArrayPrototypeJoin(lines, '\n')}`;
    }
    if (ctx.indentationLvl !== 0) {
      const indentation = StringPrototypeRepeat(' ', ctx.indentationLvl);
      stack = ArrayPrototypeJoin(StringPrototypeSplit(stack, '\n'), `\n${indentation}`);
    }
    return stack;
  }

  // --- collections ------------------------------------------------------------

  const remainingText = (remaining) => `... ${remaining} more item${remaining > 1 ? 's' : ''}`;

  // An array with holes or extra keys: the keys in order, holes summed up.
  function formatSpecialArray(ctx, value, recurseTimes, maxLength, output, i) {
    const keys = ObjectKeys(value);
    let index = i;
    for (; i < keys.length && output.length < maxLength; i++) {
      const key = keys[i];
      const tmp = +key;
      if (tmp > 2 ** 32 - 2) break;
      if (`${index}` !== key) {
        if (RegExpPrototypeExec(numberRegExp, key) === null) break;
        const emptyItems = tmp - index;
        const message = `<${emptyItems} empty item${emptyItems > 1 ? 's' : ''}>`;
        ArrayPrototypePush(output, ctx.stylize(message, 'undefined'));
        index = tmp;
        if (output.length === maxLength) break;
      }
      ArrayPrototypePush(output, formatProperty(ctx, value, recurseTimes, key, kArrayType));
      index++;
    }
    const remaining = value.length - index;
    if (output.length !== maxLength) {
      if (remaining > 0) {
        const message = `<${remaining} empty item${remaining > 1 ? 's' : ''}>`;
        ArrayPrototypePush(output, ctx.stylize(message, 'undefined'));
      }
    } else if (remaining > 0) {
      ArrayPrototypePush(output, remainingText(remaining));
    }
    return output;
  }

  function formatArray(ctx, value, recurseTimes) {
    const valLen = value.length;
    const len = MathMin(MathMax(0, ctx.maxArrayLength), valLen);
    const remaining = valLen - len;
    const output = [];
    for (let i = 0; i < len; i++) {
      if (!ObjectPrototypeHasOwnProperty(value, i)) {
        return formatSpecialArray(ctx, value, recurseTimes, len, output, i);
      }
      ArrayPrototypePush(output, formatProperty(ctx, value, recurseTimes, i, kArrayType));
    }
    if (remaining > 0) ArrayPrototypePush(output, remainingText(remaining));
    return output;
  }

  function formatArrayBuffer(ctx, value) {
    let buffer;
    try {
      buffer = new Uint8ArrayCtor(value);
    } catch (err) {
      return [ctx.stylize('(detached)', 'special')];
    }
    const shown = MathMin(ctx.maxArrayLength, buffer.length);
    let str = '';
    for (let i = 0; i < shown; i++) {
      if (i !== 0) str += ' ';
      str += StringPrototypePadStart(NumberPrototypeToString(buffer[i], 16), 2, '0');
    }
    const remaining = buffer.length - ctx.maxArrayLength;
    if (remaining > 0) str += ` ... ${remaining} more byte${remaining > 1 ? 's' : ''}`;
    return [`${ctx.stylize('[Uint8Contents]', 'special')}: <${str}>`];
  }

  function formatTypedArray(value, length, ctx, ignored, recurseTimes) {
    const maxLength = MathMin(MathMax(0, ctx.maxArrayLength), length);
    const remaining = length - maxLength;
    const output = [];
    const elementFormatter = length > 0 && typeof value[0] === 'number' ? formatNumber : formatBigInt;
    for (let i = 0; i < maxLength; ++i) {
      output[i] = elementFormatter(ctx.stylize, value[i], ctx.numericSeparator);
    }
    if (remaining > 0) output[maxLength] = remainingText(remaining);
    if (ctx.showHidden) {
      ctx.indentationLvl += 2;
      const extra = [
        ['BYTES_PER_ELEMENT', dataValue(value, 'BYTES_PER_ELEMENT')],
        ['length', length],
        ['byteLength', getter(TypedArrayPrototype, 'byteLength')(value)],
        ['byteOffset', getter(TypedArrayPrototype, 'byteOffset')(value)],
        ['buffer', getter(TypedArrayPrototype, 'buffer')(value)],
      ];
      for (let i = 0; i < extra.length; i++) {
        const str = formatValue(ctx, extra[i][1], recurseTimes, true);
        ArrayPrototypePush(output, `[${extra[i][0]}]: ${str}`);
      }
      ctx.indentationLvl -= 2;
    }
    return output;
  }

  function formatSet(ctx, value, recurseTimes) {
    const items = collectionItems(value);
    const length = items.length;
    const maxLength = MathMin(MathMax(0, ctx.maxArrayLength), length);
    const remaining = length - maxLength;
    const output = [];
    ctx.indentationLvl += 2;
    for (let i = 0; i < maxLength; i++) {
      ArrayPrototypePush(output, formatValue(ctx, items[i], recurseTimes));
    }
    if (remaining > 0) ArrayPrototypePush(output, remainingText(remaining));
    ctx.indentationLvl -= 2;
    return output;
  }

  function formatMap(ctx, value, recurseTimes) {
    const items = collectionItems(value);
    const length = items.length / 2;
    const maxLength = MathMin(MathMax(0, ctx.maxArrayLength), length);
    const remaining = length - maxLength;
    const output = [];
    ctx.indentationLvl += 2;
    for (let i = 0; i < maxLength; i++) {
      ArrayPrototypePush(output, `${formatValue(ctx, items[2 * i], recurseTimes)} => ` +
                                 `${formatValue(ctx, items[2 * i + 1], recurseTimes)}`);
    }
    if (remaining > 0) ArrayPrototypePush(output, remainingText(remaining));
    ctx.indentationLvl -= 2;
    return output;
  }

  const kWeak = 0;
  const kIterator = 1;
  const kMapEntries = 2;

  function formatSetIterInner(ctx, recurseTimes, entries, state) {
    const maxArrayLength = MathMax(ctx.maxArrayLength, 0);
    const maxLength = MathMin(maxArrayLength, entries.length);
    const output = [];
    ctx.indentationLvl += 2;
    for (let i = 0; i < maxLength; i++) output[i] = formatValue(ctx, entries[i], recurseTimes);
    ctx.indentationLvl -= 2;
    if (state === kWeak && !ctx.sorted) ArrayPrototypeSort(output);
    const remaining = entries.length - maxLength;
    if (remaining > 0) ArrayPrototypePush(output, remainingText(remaining));
    return output;
  }

  function formatMapIterInner(ctx, recurseTimes, entries, state) {
    const maxArrayLength = MathMax(ctx.maxArrayLength, 0);
    const len = entries.length / 2;
    const remaining = len - maxArrayLength;
    const maxLength = MathMin(maxArrayLength, len);
    const output = [];
    ctx.indentationLvl += 2;
    if (state === kWeak) {
      for (let i = 0; i < maxLength; i++) {
        const pos = i * 2;
        output[i] = `${formatValue(ctx, entries[pos], recurseTimes)} => ` +
          `${formatValue(ctx, entries[pos + 1], recurseTimes)}`;
      }
      if (!ctx.sorted) ArrayPrototypeSort(output);
    } else {
      for (let i = 0; i < maxLength; i++) {
        const pos = i * 2;
        const res = [formatValue(ctx, entries[pos], recurseTimes),
                     formatValue(ctx, entries[pos + 1], recurseTimes)];
        output[i] = reduceToSingleString(ctx, res, '', ['[', ']'], kArrayExtrasType, recurseTimes);
      }
    }
    ctx.indentationLvl -= 2;
    if (remaining > 0) ArrayPrototypePush(output, remainingText(remaining));
    return output;
  }

  function formatWeakCollection(ctx) {
    return [ctx.stylize('<items unknown>', 'special')];
  }

  function formatWeakSet(ctx, value, recurseTimes) {
    return formatSetIterInner(ctx, recurseTimes, previewEntries(value, false)[0], kWeak);
  }

  function formatWeakMap(ctx, value, recurseTimes) {
    return formatMapIterInner(ctx, recurseTimes, previewEntries(value, false)[0], kWeak);
  }

  function formatIterator(braces, ctx, value, recurseTimes) {
    const preview = previewEntries(value, true);
    if (preview[1]) {
      braces[0] = StringPrototypeReplace(braces[0], / Iterator] {$/, ' Entries] {');
      return formatMapIterInner(ctx, recurseTimes, preview[0], kMapEntries);
    }
    return formatSetIterInner(ctx, recurseTimes, preview[0], kIterator);
  }

  function formatPromise(ctx, value, recurseTimes) {
    const details = promiseState(value);
    if (details[0] === 0) return [ctx.stylize('<pending>', 'special')];
    ctx.indentationLvl += 2;
    const str = formatValue(ctx, details[1], recurseTimes);
    ctx.indentationLvl -= 2;
    return [details[0] === 2 ? `${ctx.stylize('<rejected>', 'special')} ${str}` : str];
  }

  // One `key: value` entry (or the value alone for an array element). The
  // value comes from the property's descriptor: a getter is named, not run,
  // unless the `getters` option asks for it.
  function formatProperty(ctx, value, recurseTimes, key, type, desc, original = value) {
    let name;
    let str;
    let extra = ' ';
    if (key !== null && typeof key === 'object') {
      // A built-in's internal value shown as a property (byteLength, buffer).
      desc = { value: key.value, enumerable: true };
      key = key.special;
    }
    if (desc === undefined) {
      try {
        desc = ObjectGetOwnPropertyDescriptor(value, key) || { value: undefined, enumerable: true };
      } catch (err) {
        // A native accessor that throws when read.
        desc = { enumerable: true, thrown: err };
      }
    }
    if (desc.thrown !== undefined) {
      const message = desc.thrown !== null && typeof desc.thrown === 'object' ?
        dataValue(desc.thrown, 'message') : desc.thrown;
      str = ctx.stylize(`<Inspection threw (${safeString(message)})>`, 'special');
    } else if (desc.value !== undefined) {
      const diff = (ctx.compact !== true || type !== kObjectType) ? 2 : 3;
      ctx.indentationLvl += diff;
      str = formatValue(ctx, desc.value, recurseTimes);
      if (diff === 3 && ctx.breakLength < getStringWidth(str, ctx.colors)) {
        extra = `\n${StringPrototypeRepeat(' ', ctx.indentationLvl)}`;
      }
      ctx.indentationLvl -= diff;
    } else if (desc.get !== undefined) {
      const label = desc.set !== undefined ? 'Getter/Setter' : 'Getter';
      const s = ctx.stylize;
      const sp = 'special';
      if (ctx.getters && (ctx.getters === true ||
                          (ctx.getters === 'get' && desc.set === undefined) ||
                          (ctx.getters === 'set' && desc.set !== undefined))) {
        try {
          const tmp = FunctionPrototypeCall(desc.get, original);
          ctx.indentationLvl += 2;
          if (tmp === null) {
            str = `${s(`[${label}:`, sp)} ${s('null', 'null')}${s(']', sp)}`;
          } else if (typeof tmp === 'object') {
            str = `${s(`[${label}]`, sp)} ${formatValue(ctx, tmp, recurseTimes)}`;
          } else {
            str = `${s(`[${label}:`, sp)} ${formatPrimitive(s, tmp, ctx)}${s(']', sp)}`;
          }
          ctx.indentationLvl -= 2;
        } catch (err) {
          const message = err !== null && typeof err === 'object' ? dataValue(err, 'message') : err;
          str = `${s(`[${label}:`, sp)} <Inspection threw (${safeString(message)})>${s(']', sp)}`;
        }
      } else {
        str = ctx.stylize(`[${label}]`, sp);
      }
    } else if (desc.set !== undefined) {
      str = ctx.stylize('[Setter]', 'special');
    } else {
      str = ctx.stylize('undefined', 'undefined');
    }
    if (type === kArrayType) return str;
    if (typeof key === 'symbol') {
      strEscapeSequencesReplacer.lastIndex = 0;
      const tmp = StringPrototypeReplace(SymbolPrototypeToString(key), strEscapeSequencesReplacer,
                                         escapeFn);
      name = `[${ctx.stylize(tmp, 'symbol')}]`;
    } else if (key === '__proto__') {
      name = "['__proto__']";
    } else if (desc.enumerable === false) {
      strEscapeSequencesReplacer.lastIndex = 0;
      name = `[${StringPrototypeReplace(`${key}`, strEscapeSequencesReplacer, escapeFn)}]`;
    } else if (RegExpPrototypeExec(keyStrRegExp, `${key}`) !== null) {
      name = ctx.stylize(`${key}`, 'name');
    } else {
      name = ctx.stylize(strEscape(`${key}`), 'string');
    }
    return `${name}:${extra}${str}`;
  }

  // --- line breaking ---------------------------------------------------------

  function isBelowBreakLength(ctx, output, start, base) {
    let totalLength = output.length + start;
    if (totalLength + output.length > ctx.breakLength) return false;
    for (let i = 0; i < output.length; i++) {
      totalLength += output[i].length;
      if (totalLength > ctx.breakLength) return false;
    }
    return base === '' || !StringPrototypeIncludes(base, '\n');
  }

  // Many short array entries are put in columns: about as many as make the
  // block look square, at most 15 and within breakLength; numbers are
  // aligned right, anything else left.
  function groupArrayElements(ctx, output, value) {
    let totalLength = 0;
    let maxLength = 0;
    let i = 0;
    let outputLength = output.length;
    if (ctx.maxArrayLength < output.length) outputLength--;
    const separatorSpace = 2;
    const dataLen = new Array(outputLength);
    for (; i < outputLength; i++) {
      const len = getStringWidth(output[i], ctx.colors);
      dataLen[i] = len;
      totalLength += len + separatorSpace;
      if (maxLength < len) maxLength = len;
    }
    const actualMax = maxLength + separatorSpace;
    if (actualMax * 3 + ctx.indentationLvl < ctx.breakLength &&
        (totalLength / actualMax > 5 || maxLength <= 6)) {
      const approxCharHeights = 2.5;
      const averageBias = MathSqrt(actualMax - totalLength / output.length);
      const biasedMax = MathMax(actualMax - 3 - averageBias, 1);
      const columns = MathMin(
        MathRound(MathSqrt(approxCharHeights * biasedMax * outputLength) / biasedMax),
        MathFloor((ctx.breakLength - ctx.indentationLvl) / actualMax),
        ctx.compact * 4,
        15);
      if (columns <= 1) return output;
      const tmp = [];
      const maxLineLength = [];
      for (let c = 0; c < columns; c++) {
        let lineMaxLength = 0;
        for (let j = c; j < output.length; j += columns) {
          if (dataLen[j] > lineMaxLength) lineMaxLength = dataLen[j];
        }
        maxLineLength[c] = lineMaxLength + separatorSpace;
      }
      let order = StringPrototypePadStart;
      if (value !== undefined) {
        for (let k = 0; k < output.length; k++) {
          if (typeof value[k] !== 'number' && typeof value[k] !== 'bigint') {
            order = StringPrototypePadEnd;
            break;
          }
        }
      }
      for (let r = 0; r < outputLength; r += columns) {
        const max = MathMin(r + columns, outputLength);
        let str = '';
        let j = r;
        for (; j < max - 1; j++) {
          const padding = maxLineLength[j - r] + output[j].length - dataLen[j];
          str += order(`${output[j]}, `, padding, ' ');
        }
        if (order === StringPrototypePadStart) {
          const padding = maxLineLength[j - r] + output[j].length - dataLen[j] - separatorSpace;
          str += StringPrototypePadStart(output[j], padding, ' ');
        } else {
          str += output[j];
        }
        ArrayPrototypePush(tmp, str);
      }
      if (ctx.maxArrayLength < output.length) ArrayPrototypePush(tmp, output[outputLength]);
      output = tmp;
    }
    return output;
  }

  // The entries on one line when they fit (up to `compact` levels of
  // nesting), else one entry per line.
  function reduceToSingleString(ctx, output, base, braces, extrasType, recurseTimes, value) {
    if (ctx.compact !== true) {
      if (typeof ctx.compact === 'number' && ctx.compact >= 1) {
        const entries = output.length;
        if (extrasType === kArrayExtrasType && entries > 6) {
          output = groupArrayElements(ctx, output, value);
        }
        if (ctx.currentDepth - recurseTimes < ctx.compact && entries === output.length) {
          const start = output.length + ctx.indentationLvl + braces[0].length + base.length + 10;
          if (isBelowBreakLength(ctx, output, start, base)) {
            const joinedOutput = ArrayPrototypeJoin(output, ', ');
            if (!StringPrototypeIncludes(joinedOutput, '\n')) {
              return `${base ? `${base} ` : ''}${braces[0]} ${joinedOutput} ${braces[1]}`;
            }
          }
        }
      }
      const indentation = `\n${StringPrototypeRepeat(' ', ctx.indentationLvl)}`;
      return `${base ? `${base} ` : ''}${braces[0]}${indentation}  ` +
        `${ArrayPrototypeJoin(output, `,${indentation}  `)}${indentation}${braces[1]}`;
    }
    if (isBelowBreakLength(ctx, output, 0, base)) {
      return `${braces[0]}${base ? ` ${base}` : ''} ${ArrayPrototypeJoin(output, ', ')} ${braces[1]}`;
    }
    const indentation = StringPrototypeRepeat(' ', ctx.indentationLvl);
    const ln = base === '' && braces[0].length === 1 ? ' ' :
      `${base ? ` ${base}` : ''}\n${indentation}  `;
    return `${braces[0]}${ln}${ArrayPrototypeJoin(output, `,\n${indentation}  `)} ${braces[1]}`;
  }

  // --- text width -----------------------------------------------------------

  function stripVTControlCharacters(str) {
    ansi.lastIndex = 0;
    return StringPrototypeReplace(str, ansi, '');
  }

  function isFullWidthCodePoint(code) {
    return code >= 0x1100 && (
      code <= 0x115f || code === 0x2329 || code === 0x232a ||
      (code >= 0x2e80 && code <= 0x3247 && code !== 0x303f) ||
      (code >= 0x3250 && code <= 0x4dbf) || (code >= 0x4e00 && code <= 0xa4c6) ||
      (code >= 0xa960 && code <= 0xa97c) || (code >= 0xac00 && code <= 0xd7a3) ||
      (code >= 0xf900 && code <= 0xfaff) || (code >= 0xfe10 && code <= 0xfe19) ||
      (code >= 0xfe30 && code <= 0xfe6b) || (code >= 0xff01 && code <= 0xff60) ||
      (code >= 0xffe0 && code <= 0xffe6) || (code >= 0x1b000 && code <= 0x1b001) ||
      (code >= 0x1f200 && code <= 0x1f251) || (code >= 0x1f300 && code <= 0x1f64f) ||
      (code >= 0x20000 && code <= 0x3fffd));
  }

  function isZeroWidthCodePoint(code) {
    return code <= 0x1F || (code >= 0x7F && code <= 0x9F) || (code >= 0x300 && code <= 0x36F) ||
      (code >= 0x200B && code <= 0x200F) || (code >= 0x20D0 && code <= 0x20FF) ||
      (code >= 0xFE00 && code <= 0xFE0F) || (code >= 0xFE20 && code <= 0xFE2F) ||
      (code >= 0xE0100 && code <= 0xE01EF);
  }

  // Columns a text takes on a terminal: wide East Asian characters count
  // two, combining marks and control characters none.
  function getStringWidth(str, removeControlChars = true) {
    let width = 0;
    if (removeControlChars) str = stripVTControlCharacters(str);
    let ascii = true;
    for (let i = 0; i < str.length; i++) {
      const code = StringPrototypeCharCodeAt(str, i);
      if (code >= 127) {
        ascii = false;
        break;
      }
      width += code >= 32 ? 1 : 0;
    }
    if (ascii) return width;
    width = 0;
    str = StringPrototypeNormalize(str, 'NFC');
    for (let i = 0; i < str.length; i++) {
      const code = StringPrototypeCodePointAt(str, i);
      if (code > 0xffff) i++;
      if (isFullWidthCodePoint(code)) {
        width += 2;
      } else if (!isZeroWidthCodePoint(code)) {
        width++;
      }
    }
    return width;
  }

  // --- util.format ------------------------------------------------------------

  // Whether %s may use the object's own string form: not when it, or a
  // prototype below the built-in ones, defines toString or Symbol.toPrimitive.
  function hasBuiltInToString(value) {
    value = unwrap(value);
    if (value === null) return true;
    const toStringDesc = lookup(value, 'toString');
    const toPrimitiveDesc = lookup(value, SymbolToPrimitive);
    const hasToString = toStringDesc !== undefined &&
      (toStringDesc.get !== undefined || typeof toStringDesc.value === 'function');
    const hasToPrimitive = toPrimitiveDesc !== undefined &&
      (toPrimitiveDesc.get !== undefined || typeof toPrimitiveDesc.value === 'function');
    if (!hasToString && !hasToPrimitive) return true;
    let pointer = value;
    for (let hops = 0; pointer !== null && hops < 10000; hops++) {
      if ((hasToString && ObjectPrototypeHasOwnProperty(pointer, 'toString')) ||
          (hasToPrimitive && ObjectPrototypeHasOwnProperty(pointer, SymbolToPrimitive))) {
        if (pointer === value) return false;
        const descriptor = ObjectGetOwnPropertyDescriptor(pointer, 'constructor');
        return descriptor !== undefined && typeof descriptor.value === 'function' &&
          builtInHas(builtInObjects, dataValue(descriptor.value, 'name'));
      }
      pointer = unwrap(ObjectGetPrototypeOf(pointer));
    }
    return true;
  }

  let circularErrorMessage;
  function firstErrorLine(error) {
    const message = dataValue(error, 'message');
    return StringPrototypeSplit(typeof message === 'string' ? message : '', '\n')[0];
  }

  function tryStringify(arg) {
    try {
      return JSONStringify(arg);
    } catch (err) {
      if (circularErrorMessage === undefined) {
        try {
          const a = {};
          a.a = a;
          JSONStringify(a);
        } catch (circularError) {
          circularErrorMessage = firstErrorLine(circularError);
        }
      }
      if (err !== null && typeof err === 'object' && dataValue(err, 'name') === 'TypeError' &&
          firstErrorLine(err) === circularErrorMessage) {
        return '[Circular]';
      }
      throw err;
    }
  }

  // Number(value) and its kin, NaN when the conversion throws.
  function toNumberOr(convert, value) {
    try {
      return convert(value);
    } catch (err) {
      return NaN;
    }
  }

  function format(args, inspectOptions) {
    const first = args[0];
    let a = 0;
    let str = '';
    let join = '';
    if (typeof first === 'string') {
      if (args.length === 1) return first;
      let tempStr;
      let lastPos = 0;
      for (let i = 0; i < first.length - 1; i++) {
        if (StringPrototypeCharCodeAt(first, i) === 37) {  // '%'
          const nextChar = StringPrototypeCharCodeAt(first, ++i);
          if (a + 1 !== args.length) {
            switch (nextChar) {
              case 115: {  // 's'
                const tempArg = args[++a];
                if (typeof tempArg === 'number') {
                  tempStr = formatNumber(stylizeNoColor, tempArg, false);
                } else if (typeof tempArg === 'bigint') {
                  tempStr = formatBigInt(stylizeNoColor, tempArg, false);
                } else if (typeof tempArg !== 'object' || tempArg === null ||
                           !hasBuiltInToString(tempArg)) {
                  tempStr = safeString(tempArg);
                } else {
                  tempStr = inspect(tempArg, { ...inspectOptions, compact: 3, colors: false,
                                               depth: 0 });
                }
                break;
              }
              case 106:  // 'j'
                tempStr = tryStringify(args[++a]);
                break;
              case 100: {  // 'd'
                const tempNum = args[++a];
                if (typeof tempNum === 'bigint') {
                  tempStr = formatBigInt(stylizeNoColor, tempNum, false);
                } else if (typeof tempNum === 'symbol') {
                  tempStr = 'NaN';
                } else {
                  tempStr = formatNumber(stylizeNoColor, toNumberOr(NumberCtor, tempNum), false);
                }
                break;
              }
              case 79:  // 'O'
                tempStr = inspect(args[++a], inspectOptions);
                break;
              case 111:  // 'o'
                tempStr = inspect(args[++a], { ...inspectOptions, showHidden: true,
                                               showProxy: true, depth: 4 });
                break;
              case 105: {  // 'i'
                const tempInteger = args[++a];
                if (typeof tempInteger === 'bigint') {
                  tempStr = formatBigInt(stylizeNoColor, tempInteger, false);
                } else if (typeof tempInteger === 'symbol') {
                  tempStr = 'NaN';
                } else {
                  tempStr = formatNumber(stylizeNoColor, toNumberOr(NumberParseInt, tempInteger),
                                         false);
                }
                break;
              }
              case 102: {  // 'f'
                const tempFloat = args[++a];
                if (typeof tempFloat === 'symbol') {
                  tempStr = 'NaN';
                } else {
                  tempStr = formatNumber(stylizeNoColor, toNumberOr(NumberParseFloat, tempFloat),
                                         false);
                }
                break;
              }
              case 99:  // 'c': styles do not apply to text output
                a += 1;
                tempStr = '';
                break;
              case 37:  // '%'
                str += StringPrototypeSlice(first, lastPos, i);
                lastPos = i + 1;
                continue;
              default:
                continue;
            }
            if (lastPos !== i - 1) str += StringPrototypeSlice(first, lastPos, i - 1);
            str += tempStr;
            lastPos = i + 1;
          } else if (nextChar === 37) {
            str += StringPrototypeSlice(first, lastPos, i);
            lastPos = i + 1;
          }
        }
      }
      if (lastPos !== 0) {
        a++;
        join = ' ';
        if (lastPos < first.length) str += StringPrototypeSlice(first, lastPos);
      }
    }
    while (a < args.length) {
      const value = args[a];
      str += join;
      str += typeof value !== 'string' ? inspect(value, inspectOptions) : value;
      join = ' ';
      a++;
    }
    return str;
  }

  // --- console helpers ---------------------------------------------------------

  // console.dir: inspect without custom inspectors unless asked.
  function dir(value, options) {
    const merged = { customInspect: false };
    if (options !== null && typeof options === 'object') {
      const keys = ObjectKeys(options);
      for (let i = 0; i < keys.length; i++) merged[keys[i]] = options[keys[i]];
    }
    return inspect(value, merged);
  }

  // console.assert's line: the first argument after "Assertion failed: ".
  function assertLine(args) {
    const list = ArrayPrototypeSlice(args);
    if (list.length === 0) {
      list[0] = 'Assertion failed';
    } else {
      list[0] = `Assertion failed: ${safeString(list[0])}`;
    }
    return format(list);
  }

  // console.trace: "Trace: message" and the caller's stack.
  function trace(args) {
    const err = { name: 'Trace', message: format(args) };
    ErrorCaptureStackTrace(err, trace);
    return dataValue(err, 'stack');
  }

  function pad(value) {
    return StringPrototypePadStart(`${value}`, 2, '0');
  }

  const kSecond = 1000;
  const kMinute = 60 * kSecond;
  const kHour = 60 * kMinute;

  // A duration as console.timeEnd shows it: 1.234ms, 1.234s, 1:02.345
  // (m:ss.mmm), 1:02:03.456 (h:mm:ss.mmm).
  function formatTime(ms) {
    let hours = 0;
    let minutes = 0;
    let seconds = 0;
    if (ms >= kSecond) {
      if (ms >= kMinute) {
        if (ms >= kHour) {
          hours = MathFloor(ms / kHour);
          ms = ms % kHour;
        }
        minutes = MathFloor(ms / kMinute);
        ms = ms % kMinute;
      }
      seconds = ms / kSecond;
    }
    if (hours !== 0 || minutes !== 0) {
      const parts = StringPrototypeSplit(NumberPrototypeToFixed(seconds, 3), '.');
      const res = hours !== 0 ? `${hours}:${pad(minutes)}` : minutes;
      return `${res}:${pad(parts[0])}.${parts[1]} (${hours !== 0 ? 'h:m' : ''}m:ss.mmm)`;
    }
    if (seconds !== 0) return `${NumberPrototypeToFixed(seconds, 3)}s`;
    return `${NumberCtor(NumberPrototypeToFixed(ms, 3))}ms`;
  }

  function timeLine(label, ms, data) {
    const args = ['%s: %s', label, formatTime(ms)];
    if (data !== undefined) {
      for (let i = 0; i < data.length; i++) ArrayPrototypePush(args, data[i]);
    }
    return format(args);
  }

  // --- console.table ------------------------------------------------------------

  const tableChars = {
    middleMiddle: '\u2500',
    rowMiddle: '\u253c',
    topRight: '\u2510',
    topLeft: '\u250c',
    leftMiddle: '\u251c',
    topMiddle: '\u252c',
    bottomRight: '\u2518',
    bottomLeft: '\u2514',
    bottomMiddle: '\u2534',
    rightMiddle: '\u2524',
    left: '\u2502 ',
    right: ' \u2502',
    middle: ' \u2502 ',
  };

  function renderRow(row, columnWidths) {
    let out = tableChars.left;
    for (let i = 0; i < row.length; i++) {
      const cell = row[i];
      const needed = columnWidths[i] - getStringWidth(cell);
      out += cell + StringPrototypeRepeat(' ', MathCeil(needed));
      if (i !== row.length - 1) out += tableChars.middle;
    }
    return out + tableChars.right;
  }

  function renderTable(head, columns) {
    const rows = [];
    const columnWidths = [];
    let longestColumn = 0;
    for (let i = 0; i < head.length; i++) columnWidths[i] = getStringWidth(head[i]);
    for (let i = 0; i < columns.length; i++) longestColumn = MathMax(longestColumn, columns[i].length);
    for (let i = 0; i < head.length; i++) {
      const column = columns[i];
      for (let j = 0; j < longestColumn; j++) {
        if (rows[j] === undefined) rows[j] = [];
        const value = rows[j][i] = ObjectPrototypeHasOwnProperty(column, j) ? column[j] : '';
        columnWidths[i] = MathMax(columnWidths[i] || 0, getStringWidth(value));
      }
    }
    const divider = [];
    for (let i = 0; i < columnWidths.length; i++) {
      divider[i] = StringPrototypeRepeat(tableChars.middleMiddle, columnWidths[i] + 2);
    }
    let result = tableChars.topLeft + ArrayPrototypeJoin(divider, tableChars.topMiddle) +
      tableChars.topRight + '\n' + renderRow(head, columnWidths) + '\n' + tableChars.leftMiddle +
      ArrayPrototypeJoin(divider, tableChars.rowMiddle) + tableChars.rightMiddle + '\n';
    for (let i = 0; i < rows.length; i++) result += `${renderRow(rows[i], columnWidths)}\n`;
    result += tableChars.bottomLeft + ArrayPrototypeJoin(divider, tableChars.bottomMiddle) +
      tableChars.bottomRight;
    return result;
  }

  function cellText(v) {
    const plainObject = v !== null && typeof v === 'object' && !ArrayIsArray(v) &&
      kindOf(v) !== 'TypedArray' && ObjectKeys(unwrap(v) || {}).length > 2;
    return inspect(v, { depth: plainObject ? -1 : 0, maxArrayLength: 3, breakLength: Infinity });
  }

  // A property's value for a cell: data properties only; an accessor is
  // named as inspect names it.
  function cellOf(object, key) {
    const desc = ObjectGetOwnPropertyDescriptor(object, key);
    if (desc === undefined) return { present: false };
    if (desc.get !== undefined || desc.set !== undefined) {
      const label = desc.get === undefined ? 'Setter' :
        desc.set === undefined ? 'Getter' : 'Getter/Setter';
      return { present: true, text: `[${label}]` };
    }
    return { present: true, value: desc.value };
  }

  // The table's text, or undefined when the data is not an object (the
  // host then logs it as console.log would).
  function table(tabularData, properties) {
    if (properties !== undefined && !ArrayIsArray(properties)) {
      throw new TypeErrorCtor('The "properties" argument must be an instance of Array.' +
                              ` Received ${describeReceived(properties)}`);
    }
    if (tabularData === null || (typeof tabularData !== 'object' && typeof tabularData !== 'function')) {
      return undefined;
    }
    tabularData = unwrap(tabularData);
    if (tabularData === null) return undefined;
    const indexArray = (length) => {
      const out = [];
      for (let i = 0; i < length; i++) out[i] = cellText(i);
      return out;
    };
    const kind = kindOf(tabularData);
    if (kind === 'MapIterator' || kind === 'Map') {
      let entries;
      let isKeyValue = true;
      if (kind === 'MapIterator') {
        const preview = previewEntries(tabularData, true);
        entries = preview[0];
        isKeyValue = preview[1];
      } else {
        entries = collectionItems(tabularData);
      }
      if (isKeyValue) {
        const keys = [];
        const values = [];
        for (let i = 0; i < entries.length / 2; i++) {
          ArrayPrototypePush(keys, cellText(entries[i * 2]));
          ArrayPrototypePush(values, cellText(entries[i * 2 + 1]));
        }
        return renderTable(['(iteration index)', 'Key', 'Values'],
                           [indexArray(keys.length), keys, values]);
      }
      const values = [];
      for (let i = 0; i < entries.length; i++) ArrayPrototypePush(values, cellText(entries[i]));
      return renderTable(['(iteration index)', 'Values'], [indexArray(values.length), values]);
    }
    if (kind === 'SetIterator' || kind === 'Set') {
      const entries = kind === 'Set' ? collectionItems(tabularData) :
        previewEntries(tabularData, false)[0];
      const values = [];
      for (let i = 0; i < entries.length; i++) ArrayPrototypePush(values, cellText(entries[i]));
      return renderTable(['(iteration index)', 'Values'], [indexArray(values.length), values]);
    }

    const map = { __proto__: null };
    let hasPrimitives = false;
    const valuesKeyArray = [];
    const indexKeyArray = ObjectKeys(tabularData);
    for (let i = 0; i < indexKeyArray.length; i++) {
      const cell = cellOf(tabularData, indexKeyArray[i]);
      const item = cell.value;
      const primitive = cell.text !== undefined || item === null ||
        (typeof item !== 'function' && typeof item !== 'object');
      if (properties === undefined && primitive) {
        hasPrimitives = true;
        valuesKeyArray[i] = cell.text !== undefined ? cell.text : cellText(item);
      } else {
        const target = primitive ? null : unwrap(item);
        const keys = properties || (target === null ? [] : ObjectKeys(target));
        for (let k = 0; k < keys.length; k++) {
          const key = keys[k];
          if (map[key] === undefined) map[key] = [];
          const inner = target === null ? { present: false } : cellOf(target, key);
          if ((primitive && properties) || !inner.present) {
            map[key][i] = '';
          } else {
            map[key][i] = inner.text !== undefined ? inner.text : cellText(inner.value);
          }
        }
      }
    }
    // Columns in the order of the map's own keys, as node lists them
    // (integer-like names first).
    const mapKeys = ObjectKeys(map);
    const head = ['(index)'];
    const columns = [indexKeyArray];
    for (let i = 0; i < mapKeys.length; i++) {
      ArrayPrototypePush(head, mapKeys[i]);
      ArrayPrototypePush(columns, map[mapKeys[i]]);
    }
    if (hasPrimitives) {
      ArrayPrototypePush(head, 'Values');
      ArrayPrototypePush(columns, valuesKeyArray);
    }
    return renderTable(head, columns);
  }

  function describeReceived(value) {
    if (value === null || value === undefined) return `${value}`;
    if (typeof value === 'function') {
      const name = dataValue(value, 'name');
      return `function ${name}`;
    }
    if (typeof value === 'object') {
      const ctor = getConstructorName(value, makeContext(), 0);
      return ctor ? `an instance of ${ctor}` : inspect(value, { depth: -1 });
    }
    let shown = inspect(value, { colors: false });
    if (shown.length > 28) shown = `${StringPrototypeSlice(shown, 0, 25)}...`;
    return `type ${typeof value} (${shown})`;
  }

  return { inspect, format, dir, assertLine, trace, timeLine, table };
})

// The console's formatter: options, the inspect entry point and the
// printf-style line of console.log (%s %d %i %f %j %o %O %c %%).

const defaultOptions = {
  depth: 2,
  showHidden: false,
  showProxy: false,
  customInspect: true,
  getters: false,
  sorted: false,
  breakLength: 80,
  compact: 3,
  maxArrayLength: 100,
  maxStringLength: 10000,
};
const optionNames = ReflectOwnKeys(defaultOptions);

// The working state of one inspection, from defaults, a base context and
// the options given (a script's object may be read: console.dir's options).
function makeContext(base, options) {
  if (base === undefined && options === undefined) return defaultContext();
  const ctx = {
    seen: [],
    circular: undefined,
    indentationLvl: 0,
    currentDepth: 0,
    protoProps: undefined,
    protoFacts: undefined,
  };
  for (let i = 0; i < optionNames.length; i++) {
    const name = optionNames[i];
    let value = base === undefined ? defaultOptions[name] : base[name];
    if (options !== undefined && options !== null && typeof options === 'object') {
      const given = options[name];
      if (given !== undefined) value = given;
    }
    ctx[name] = value;
  }
  if (ctx.depth === null) ctx.depth = Infinity;
  if (ctx.maxArrayLength === null) ctx.maxArrayLength = Infinity;
  if (ctx.maxStringLength === null) ctx.maxStringLength = Infinity;
  if (base !== undefined) ctx.indentationLvl = base.indentationLvl;
  return ctx;
}

function defaultContext() {
  return {
    seen: [],
    circular: undefined,
    indentationLvl: 0,
    currentDepth: 0,
    protoProps: undefined,
    protoFacts: undefined,
    depth: 2,
    showHidden: false,
    showProxy: false,
    customInspect: true,
    getters: false,
    sorted: false,
    breakLength: 80,
    compact: 3,
    maxArrayLength: 100,
    maxStringLength: 10000,
  };
}

// What a value's own inspection method receives as options.
function userOptions(ctx, depth) {
  const options = {};
  for (let i = 0; i < optionNames.length; i++) options[optionNames[i]] = ctx[optionNames[i]];
  options.depth = depth;
  options.colors = false;
  options.stylize = (text) => `${text}`;
  return options;
}

function inspectValue(value, options, base) {
  const ctx = makeContext(base, options);
  return formatValue(ctx, value, 0);
}

// util.inspect's counterpart, handed to custom inspection methods.
function inspectEntry(value, options) {
  if (typeof value === 'string' && (options === undefined || options === null)) {
    return quoteText(value);
  }
  return inspectValue(value, options);
}

// The standard constructors: an object whose toString comes from one of
// them is shown by %s as inspect shows it, not by its toString.
const builtInNames = [
  'Object', 'Function', 'Array', 'Number', 'Boolean', 'String', 'Symbol', 'Date', 'Promise',
  'RegExp', 'Error', 'AggregateError', 'EvalError', 'RangeError', 'ReferenceError',
  'SyntaxError', 'TypeError', 'URIError', 'ArrayBuffer', 'SharedArrayBuffer', 'DataView',
  'Uint8Array', 'Int8Array', 'Uint16Array', 'Int16Array', 'Uint32Array', 'Int32Array',
  'Float32Array', 'Float64Array', 'Uint8ClampedArray', 'BigUint64Array', 'BigInt64Array',
  'Map', 'BigInt', 'Set', 'WeakMap', 'WeakSet', 'Proxy', 'WeakRef', 'FinalizationRegistry',
];

function isBuiltInName(name) {
  for (let i = 0; i < builtInNames.length; i++) if (builtInNames[i] === name) return true;
  return false;
}

function hasBuiltInToString(value) {
  const proxy = natives.proxyParts(value, false);
  if (proxy !== undefined) {
    if (proxy[0] === null) return true;
    value = proxy[0];
  }
  if (typeof dataProperty(value, 'toString') !== 'function') return true;
  if (HasOwn(value, 'toString')) return false;
  let holder = value;
  do {
    holder = ReflectPrototypeOf(holder);
  } while (holder !== null && natives.kindOf(holder) !== 'proxy' && !HasOwn(holder, 'toString'));
  if (holder === null || natives.kindOf(holder) === 'proxy') return true;
  const constructor = ownData(holder, 'constructor');
  return typeof constructor === 'function' && isBuiltInName(functionName(constructor));
}

const shallow = { depth: 0 };

function formatString(argument) {
  if (typeof argument === 'number') return numberText(argument);
  if (typeof argument === 'bigint') return `${argument}n`;
  if (typeof argument !== 'object' || argument === null || !hasBuiltInToString(argument)) {
    try {
      return StringCtor(argument);
    } catch (error) {
      if (isStackOverflow(error)) throw error;
    }
  }
  return inspectValue(argument, shallow);
}

// A conversion that throws gives NaN: a log line must not become a new
// failure.
function formatNumber(argument, convert) {
  if (typeof argument === 'bigint') return `${argument}n`;
  if (typeof argument === 'symbol') return 'NaN';
  try {
    return numberText(convert(argument));
  } catch (error) {
    if (isStackOverflow(error)) throw error;
    return 'NaN';
  }
}

function formatJson(argument) {
  try {
    return `${JSONStringify(argument)}`;
  } catch (error) {
    const message = error !== null && typeof error === 'object' ? ownData(error, 'message') : '';
    if (typeof message === 'string' && includesText(message, 'circular structure')) {
      return '[Circular]';
    }
    throw error;
  }
}

const hiddenAndProxies = { showHidden: true, showProxy: true, depth: 4 };

// One specifier's text, or undefined for a letter that is not one.
function specifierText(letter, argument) {
  switch (letter) {
    case 115: return formatString(argument); // s
    case 100: return formatNumber(argument, NumberCtor); // d
    case 105: return formatNumber(argument, NumberParseInt); // i
    case 102: // f
      if (typeof argument === 'symbol') return 'NaN';
      try {
        return numberText(NumberParseFloat(argument));
      } catch (error) {
        if (isStackOverflow(error)) throw error;
        return 'NaN';
      }
    case 106: return formatJson(argument); // j
    case 111: return inspectValue(argument, hiddenAndProxies); // o
    case 79: return inspectValue(argument, undefined); // O
    case 99: return ''; // c
    default: return undefined;
  }
}

// node's util.format: specifiers of a first text argument are replaced by
// the following arguments; what is left is appended, texts as they are.
function formatLine(args) {
  let text = '';
  let next = 0;
  let separator = '';
  const first = args[0];
  if (typeof first === 'string') {
    if (args.length === 1) return first;
    let last = 0;
    for (let i = 0; i < first.length - 1; i++) {
      if (StringCharCodeAt(first, i) !== 37) continue;
      const letter = StringCharCodeAt(first, ++i);
      if (letter === 37) {
        text += StringSlice(first, last, i);
        last = i + 1;
        continue;
      }
      if (next + 1 === args.length) continue;
      const replacement = specifierText(letter, args[next + 1]);
      if (replacement === undefined) continue;
      next++;
      text += StringSlice(first, last, i - 1) + replacement;
      last = i + 1;
    }
    if (last !== 0) {
      next++;
      separator = ' ';
      if (last < first.length) text += StringSlice(first, last);
    }
  }
  for (; next < args.length; next++) {
    text += separator + argumentText(args[next]);
    separator = ' ';
  }
  return text;
}

// An argument after the format: a text as it is, anything else as inspect
// shows it (primitives without setting up an inspection).
function argumentText(argument) {
  switch (typeof argument) {
    case 'string': return argument;
    case 'number': return numberText(argument);
    case 'bigint': return `${argument}n`;
    case 'boolean': return argument ? 'true' : 'false';
    case 'undefined': return 'undefined';
    case 'symbol': return SymbolToString(argument);
    default: return argument === null ? 'null' : inspectValue(argument, undefined);
  }
}

// The console's formatter, first part: the built-ins it relies on, taken
// when the formatter is compiled so that a script replacing them later
// changes nothing, and the texts of primitive values.
//
// The parts are joined at build time into the body of one function whose
// argument `natives` holds the engine helpers (console/ValueProbes.cc);
// the last part returns the formatter's entry points.
'use strict';

const bindCall = Function.prototype.call.bind(Function.prototype.bind, Function.prototype.call);
const method = (proto, name) => bindCall(proto[name]);
const getter = (proto, name) => bindCall(Reflect.getOwnPropertyDescriptor(proto, name).get);

const {
  apply: ReflectApply,
  getOwnPropertyDescriptor: ReflectDescriptor,
  getPrototypeOf: ReflectPrototypeOf,
  ownKeys: ReflectOwnKeys,
} = Reflect;
const ObjectIs = Object.is;
const NumberIsNaN = Number.isNaN;
const NumberParseInt = Number.parseInt;
const NumberParseFloat = Number.parseFloat;
const { floor: MathFloor, max: MathMax, min: MathMin, round: MathRound, sqrt: MathSqrt } = Math;
const JSONStringify = JSON.stringify;
const StringCtor = String;
const NumberCtor = Number;
const SymbolFor = Symbol.for;
const TypedArrayPrototype = ReflectPrototypeOf(Uint8Array.prototype);

const ArraySort = method(Array.prototype, 'sort');
const ArrayJoin = method(Array.prototype, 'join');
const StringSlice = method(String.prototype, 'slice');
const StringCharCodeAt = method(String.prototype, 'charCodeAt');
const StringCodePointAt = method(String.prototype, 'codePointAt');
const StringIndexOf = method(String.prototype, 'indexOf');
const RegExpExec = method(RegExp.prototype, 'exec');
const RegExpTest = method(RegExp.prototype, 'test');
const RegExpSource = getter(RegExp.prototype, 'source');
const RegExpFlags = getter(RegExp.prototype, 'flags');
const DateGetTime = method(Date.prototype, 'getTime');
const DateToISOString = method(Date.prototype, 'toISOString');
const DateToString = method(Date.prototype, 'toString');
const FunctionToString = method(Function.prototype, 'toString');
const HasOwn = method(Object.prototype, 'hasOwnProperty');
const NumberValueOf = method(Number.prototype, 'valueOf');
const StringValueOf = method(String.prototype, 'valueOf');
const BooleanValueOf = method(Boolean.prototype, 'valueOf');
const BigIntValueOf = method(BigInt.prototype, 'valueOf');
const SymbolValueOf = method(Symbol.prototype, 'valueOf');
const SymbolToString = method(Symbol.prototype, 'toString');
const SymbolDescription = getter(Symbol.prototype, 'description');
const MapSize = getter(Map.prototype, 'size');
const SetSize = getter(Set.prototype, 'size');
const TypedArrayLength = getter(TypedArrayPrototype, 'length');
const TypedArrayByteLength = getter(TypedArrayPrototype, 'byteLength');
const TypedArrayByteOffset = getter(TypedArrayPrototype, 'byteOffset');
const TypedArrayBuffer = getter(TypedArrayPrototype, 'buffer');
const TypedArrayTag = getter(TypedArrayPrototype, Symbol.toStringTag);
const ArrayBufferByteLength = getter(ArrayBuffer.prototype, 'byteLength');
const SharedArrayBufferByteLength =
  typeof SharedArrayBuffer === 'function' ? getter(SharedArrayBuffer.prototype, 'byteLength') : null;
const DataViewByteLength = getter(DataView.prototype, 'byteLength');
const DataViewByteOffset = getter(DataView.prototype, 'byteOffset');
const DataViewBuffer = getter(DataView.prototype, 'buffer');
const Uint8ArrayCtor = Uint8Array;
const MapCtor = Map;
const SetCtor = Set;
const SetAdd = method(Set.prototype, 'add');
const SetHas = method(Set.prototype, 'has');
const ObjectKeys = Object.keys;
const ObjectGetOwnPropertyNames = Object.getOwnPropertyNames;
const ObjectGetOwnPropertySymbols = Object.getOwnPropertySymbols;
const IsEnumerable = method(Object.prototype, 'propertyIsEnumerable');
const MapGet = method(Map.prototype, 'get');
const MapSet = method(Map.prototype, 'set');
const ErrorCaptureStackTrace = Error.captureStackTrace;
const RangeErrorCtor = RangeError;
const TypeErrorCtor = TypeError;

const customInspectSymbol = SymbolFor('nodejs.util.inspect.custom');
const toStringTagSymbol = Symbol.toStringTag;
const iteratorSymbol = Symbol.iterator;

// --- small list helpers (the script's Array.prototype is never used) -------

function append(list, item) {
  list[list.length] = item;
}

// The lists joined are the formatter's own lists of texts. Joining copies
// them into one flat text: a deep structure's output then survives each
// young-generation collection as a few long strings, not as a tree of
// thousands of small concatenations the collector has to copy one by one.
function joinList(list, separator) {
  return ArrayJoin(list, separator);
}

const spaceTexts = [''];

// `count` spaces (rounded up), the common ones kept.
function spaces(count) {
  if (count < 64 && spaceTexts[count] !== undefined) return spaceTexts[count];
  let text = '';
  while (text.length < count) text += ' ';
  if (count < 64 && text.length === count) spaceTexts[count] = text;
  return text;
}

function includesText(text, part) {
  return StringIndexOf(text, part) !== -1;
}

function replaceAll(text, part, by) {
  let out = '';
  let from = 0;
  for (;;) {
    const at = StringIndexOf(text, part, from);
    if (at === -1) return out + StringSlice(text, from);
    out += StringSlice(text, from, at) + by;
    from = at + part.length;
  }
}

// --- primitives -----------------------------------------------------------

function numberText(value) {
  return ObjectIs(value, -0) ? '-0' : `${value}`;
}

// How one UTF-16 unit is written inside a quoted text, or undefined to keep
// it as it is.
function escapeUnit(code, quote) {
  if (code === quote) return quote === 39 ? "\\'" : undefined;
  if (code === 92) return '\\\\';
  if (code < 0x20 || (code >= 0x7f && code <= 0x9f)) {
    switch (code) {
      case 8: return '\\b';
      case 9: return '\\t';
      case 10: return '\\n';
      case 12: return '\\f';
      case 13: return '\\r';
      default: {
        const hex = (code < 16 ? '0' : '') + NumberToHex(code);
        return '\\x' + hex;
      }
    }
  }
  return undefined;
}

const NumberToString = method(Number.prototype, 'toString');
const StringToUpperCase = method(String.prototype, 'toUpperCase');
function NumberToHex(code) {
  return StringToUpperCase(NumberToString(code, 16));
}

// Characters that may need escaping (surrogates only when unpaired, which
// the escaping loop decides).
const escapeNeeded = /[\x00-\x1f\x27\x5c\x7f-\x9f\ud800-\udfff]/;

// A text in quotes as node shows it: single quotes, unless the text holds
// one and no double quote (then double quotes) or holds both but no
// backtick (then backticks).
function quoteText(text) {
  let quote = 39;
  if (includesText(text, "'")) {
    if (!includesText(text, '"')) quote = 34;
    else if (!includesText(text, '`') && !includesText(text, '${')) quote = 96;
  }
  const mark = quote === 39 ? "'" : quote === 34 ? '"' : '`';
  if (!RegExpTest(escapeNeeded, text)) {
    return mark + text + mark;
  }
  let out = '';
  let last = 0;
  for (let i = 0; i < text.length; i++) {
    const code = StringCharCodeAt(text, i);
    let replacement = escapeUnit(code, quote);
    if (replacement === undefined && code >= 0xd800 && code <= 0xdfff) {
      const next = StringCharCodeAt(text, i + 1);
      if (code <= 0xdbff && next >= 0xdc00 && next <= 0xdfff) {
        i++;
        continue;
      }
      replacement = '\\u' + NumberToString(code, 16);
    }
    if (replacement === undefined) continue;
    out += StringSlice(text, last, i) + replacement;
    last = i + 1;
  }
  return mark + out + StringSlice(text, last) + mark;
}

// A text value inside a structure: cut at maxStringLength, and split after
// its line breaks when long, each line quoted on a line of its own.
function stringValue(ctx, text) {
  let trailer = '';
  if (text.length > ctx.maxStringLength) {
    const remaining = text.length - ctx.maxStringLength;
    text = StringSlice(text, 0, ctx.maxStringLength);
    trailer = `... ${remaining} more character${remaining > 1 ? 's' : ''}`;
  }
  if (ctx.compact !== true && text.length > 16 &&
      text.length > ctx.breakLength - ctx.indentationLvl - 4) {
    const lines = [];
    let from = 0;
    for (;;) {
      const at = StringIndexOf(text, '\n', from);
      if (at === -1 || at === text.length - 1) {
        append(lines, quoteText(StringSlice(text, from)));
        break;
      }
      append(lines, quoteText(StringSlice(text, from, at + 1)));
      from = at + 1;
    }
    return joinList(lines, ` +\n${spaces(ctx.indentationLvl + 2)}`) + trailer;
  }
  return quoteText(text) + trailer;
}

// A symbol as a value shows its description as it is; as a key, escaped.
function symbolText(symbol, escaped) {
  const description = SymbolDescription(symbol);
  if (description === undefined) return 'Symbol()';
  return `Symbol(${escaped ? escapeInside(description) : description})`;
}

// A text shown without quotes but with control characters and quotes made
// visible (symbol descriptions, keys in brackets).
function escapeInside(text) {
  if (!RegExpTest(escapeNeeded, text)) return text;
  const quoted = quoteText(text);
  return StringSlice(quoted, 1, quoted.length - 1);
}

function primitiveText(ctx, value) {
  switch (typeof value) {
    case 'string': return stringValue(ctx, value);
    case 'number': return numberText(value);
    case 'bigint': return `${value}n`;
    case 'boolean': return `${value}`;
    case 'undefined': return 'undefined';
    case 'symbol': return symbolText(value);
    default: return 'null';
  }
}

const identifierKey = /^[a-zA-Z_][a-zA-Z_0-9]*$/;

// A property name before its colon.
function keyText(key, enumerable) {
  if (typeof key === 'symbol') return `[${symbolText(key, true)}]`;
  if (key === '__proto__') return "['__proto__']";
  if (enumerable === false) return `[${escapeInside(key)}]`;
  if (RegExpTest(identifierKey, key)) return key;
  return quoteText(key);
}

// Columns a text takes on a terminal: East Asian wide characters and emoji
// take two, combining marks and control characters none.
const printableAscii = /^[\x20-\x7e]*$/;

// Counting stops past `limit` columns, when given.
function textWidth(text, limit) {
  if (RegExpTest(printableAscii, text)) return text.length;
  let width = 0;
  for (let i = 0; i < text.length; i++) {
    if (width > limit) return width;
    const code = StringCodePointAt(text, i);
    if (code > 0xffff) i++;
    if (code < 0x7f) {
      if (code >= 0x20) width++;
      continue;
    }
    width += unitWidth(code);
  }
  return width;
}

// Marks drawn over the character before them, and invisible format
// characters; then East Asian wide and fullwidth ranges, and emoji drawn as
// pictures.
const zeroWidth = /^[\p{Mn}\p{Me}\p{Cf}]$/u;
const emojiPicture = /^\p{Emoji_Presentation}$/u;
const StringFromCodePoint = String.fromCodePoint;

function unitWidth(code) {
  if (code <= 0x9f) return 0;
  const character = StringFromCodePoint(code);
  if (RegExpTest(zeroWidth, character)) return 0;
  if ((code >= 0x1100 && code <= 0x115f) || (code >= 0x2e80 && code <= 0x303e) ||
      (code >= 0x3041 && code <= 0x33ff) || (code >= 0x3400 && code <= 0x4dbf) ||
      (code >= 0x4e00 && code <= 0x9fff) || (code >= 0xa000 && code <= 0xa4c6) ||
      (code >= 0xa960 && code <= 0xa97c) || (code >= 0xac00 && code <= 0xd7a3) ||
      (code >= 0xf900 && code <= 0xfaff) || (code >= 0xfe10 && code <= 0xfe19) ||
      (code >= 0xfe30 && code <= 0xfe6b) || (code >= 0xff01 && code <= 0xff60) ||
      (code >= 0xffe0 && code <= 0xffe6) || (code >= 0x1b000 && code <= 0x1b001) ||
      (code >= 0x1f200 && code <= 0x1f251) || (code >= 0x20000 && code <= 0x3fffd) ||
      RegExpTest(emojiPicture, character)) {
    return 2;
  }
  return 1;
}

// The console's formatter: the texts of console.table, time, assert, trace
// and dir, and the entry points the host calls.

// --- console.table ------------------------------------------------------------

function cellText(value) {
  let depth = 0;
  if (value !== null && typeof value === 'object' && natives.kindOf(value) !== 'array') {
    const target = natives.proxyParts(value, false);
    const keys = target === undefined ? natives.ownKeys(value, false) : [];
    let count = 0;
    for (let i = 0; i < keys.length; i++) if (typeof keys[i] === 'string') count++;
    if (count > 2) depth = -1;
  }
  return inspectValue(value, { depth, maxArrayLength: 3, breakLength: Infinity });
}

function padded(text, width) {
  return text + spaces(width - textWidth(text));
}

function rule(widths, left, middle, right) {
  let text = left;
  for (let i = 0; i < widths.length; i++) {
    let line = '';
    for (let j = 0; j < widths[i] + 2; j++) line += '\u2500';
    text += (i === 0 ? '' : middle) + line;
  }
  return text + right;
}

function tableRow(cells, widths) {
  let text = '\u2502';
  for (let i = 0; i < widths.length; i++) {
    text += ` ${padded(cells[i], widths[i])} \u2502`;
  }
  return text;
}

// The box of a table: a head row and columns of cell texts ('' where a row
// has no such cell).
function renderTable(head, columns) {
  const widths = [];
  let rows = 0;
  for (let i = 0; i < columns.length; i++) if (columns[i].length > rows) rows = columns[i].length;
  for (let i = 0; i < head.length; i++) {
    let width = textWidth(head[i]);
    for (let j = 0; j < rows; j++) {
      const cell = columns[i][j];
      if (cell !== undefined && textWidth(cell) > width) width = textWidth(cell);
    }
    widths[i] = width;
  }
  let text = `${rule(widths, '\u250c', '\u252c', '\u2510')}\n${tableRow(head, widths)}\n` +
    `${rule(widths, '\u251c', '\u253c', '\u2524')}\n`;
  for (let j = 0; j < rows; j++) {
    const cells = [];
    for (let i = 0; i < columns.length; i++) {
      append(cells, columns[i][j] === undefined ? '' : columns[i][j]);
    }
    text += `${tableRow(cells, widths)}\n`;
  }
  return text + rule(widths, '\u2514', '\u2534', '\u2518');
}

function indexColumn(count) {
  const column = [];
  for (let i = 0; i < count; i++) append(column, `${i}`);
  return column;
}

function describeReceived(value) {
  if (value === null || value === undefined) return ` Received ${value}`;
  if (typeof value === 'function') {
    const name = functionName(value);
    return ` Received function ${typeof name === 'string' && name !== '' ? name : '(anonymous)'}`;
  }
  if (typeof value === 'object') {
    const constructor = constructorOf(makeContext(undefined, undefined), value, 0);
    if (constructor !== null && StringSlice(constructor, -1) !== '>') {
      return ` Received an instance of ${constructor}`;
    }
    return ` Received ${inspectValue(value, { depth: -1 })}`;
  }
  let shown = inspectValue(value, { colors: false });
  if (shown.length > 28) shown = `${StringSlice(shown, 0, 25)}...`;
  return ` Received type ${typeof value} (${shown})`;
}

function tableText(data, properties) {
  if (properties !== undefined && natives.kindOf(properties) !== 'array') {
    const error = new TypeErrorCtor('The "properties" argument must be an instance of Array.' +
                                    describeReceived(properties));
    error.code = 'ERR_INVALID_ARG_TYPE';
    throw error;
  }
  if (data === null || (typeof data !== 'object' && typeof data !== 'function')) return undefined;
  const target = natives.proxyParts(data, false);
  if (target !== undefined) data = target[0] === null ? {} : target[0];
  const kind = natives.kindOf(data);
  if (kind === 'map' || kind === 'mapIterator') {
    const items = kind === 'map' ? natives.items(data) : natives.remaining(data);
    const pairs = kind === 'map' || (items !== undefined && items[1]);
    if (pairs) {
      const list = kind === 'map' ? items : items[0];
      const keys = [];
      const values = [];
      for (let i = 0; i + 1 < list.length; i += 2) {
        append(keys, cellText(list[i]));
        append(values, cellText(list[i + 1]));
      }
      return renderTable(['(iteration index)', 'Key', 'Values'],
                         [indexColumn(keys.length), keys, values]);
    }
  }
  if (kind === 'set' || kind === 'setIterator' || kind === 'mapIterator') {
    const preview = kind === 'set' ? undefined : natives.remaining(data);
    const list = kind === 'set' ? natives.items(data) : preview === undefined ? [] : preview[0];
    const values = [];
    for (let i = 0; i < list.length; i++) append(values, cellText(list[i]));
    return renderTable(['(iteration index)', 'Values'], [indexColumn(values.length), values]);
  }
  return rowsTable(data, properties);
}

// A table of rows: the data's own enumerable keys are the rows; the rows'
// keys (or `properties`) the columns, in the order an object keeps keys.
function rowsTable(data, properties) {
  const columns = { __proto__: null };
  const rowKeys = natives.ownKeys(data, false);
  const rowNames = [];
  const primitives = [];
  let hasPrimitives = false;
  for (let i = 0; i < rowKeys.length; i++) {
    if (typeof rowKeys[i] !== 'string') continue;
    const row = rowNames.length;
    append(rowNames, rowKeys[i]);
    const descriptor = ReflectDescriptor(data, rowKeys[i]);
    const item = descriptor.get === undefined && descriptor.set === undefined ? descriptor.value : undefined;
    const primitive = item === null || (typeof item !== 'object' && typeof item !== 'function');
    if (properties === undefined && primitive) {
      hasPrimitives = true;
      primitives[row] = descriptor.value === item ? cellText(item) : '[Getter]';
      continue;
    }
    const source = primitive ? null : natives.proxyParts(item, false);
    const holder = source === undefined || source === null ? item : source[0];
    const keys = properties !== undefined ? properties
      : holder === null ? [] : natives.ownKeys(holder, false);
    for (let k = 0; k < keys.length; k++) {
      const key = keys[k];
      if (typeof key === 'symbol' && properties === undefined) continue;
      const name = typeof key === 'symbol' ? key : `${key}`;
      if (columns[name] === undefined) columns[name] = [];
      const cell = primitive || holder === null ? undefined : ReflectDescriptor(holder, name);
      if (cell === undefined) {
        columns[name][row] = '';
      } else {
        columns[name][row] = cell.get !== undefined || cell.set !== undefined
          ? '[Getter]' : cellText(cell.value);
      }
    }
  }
  const head = ['(index)'];
  const body = [rowNames];
  const names = ReflectOwnKeys(columns);
  for (let i = 0; i < names.length; i++) {
    append(head, typeof names[i] === 'symbol' ? SymbolToString(names[i]) : names[i]);
    append(body, columns[names[i]]);
  }
  if (hasPrimitives) {
    append(head, 'Values');
    append(body, primitives);
  }
  return renderTable(head, body);
}

// --- time, assert, trace, dir ----------------------------------------------------

const NumberToFixed = method(Number.prototype, 'toFixed');

function twoDigits(value) {
  return value < 10 ? `0${value}` : `${value}`;
}

function durationText(ms) {
  if (ms >= 60000) {
    const hours = MathFloor(ms / 3600000);
    const minutes = MathFloor((ms % 3600000) / 60000);
    const fixed = NumberToFixed((ms % 60000) / 1000, 3);
    const dot = StringIndexOf(fixed, '.');
    const seconds = StringSlice(fixed, 0, dot);
    const millis = StringSlice(fixed, dot + 1);
    const head = hours !== 0 ? `${hours}:${twoDigits(minutes)}` : `${minutes}`;
    return `${head}:${seconds.length < 2 ? '0' + seconds : seconds}.${millis} ` +
      `(${hours !== 0 ? 'h:m' : ''}m:ss.mmm)`;
  }
  if (ms >= 1000) return `${NumberToFixed(ms / 1000, 3)}s`;
  return `${NumberCtor(NumberToFixed(ms, 3))}ms`;
}

function timeLine(label, ms, extra) {
  let text = `${label}: ${durationText(ms)}`;
  if (extra !== undefined) {
    for (let i = 0; i < extra.length; i++) {
      const item = extra[i];
      text += ' ' + (typeof item === 'string' ? item : inspectValue(item, undefined));
    }
  }
  return text;
}

function assertLine(args) {
  if (args.length === 0) return 'Assertion failed';
  const rest = [];
  let head;
  try {
    head = `Assertion failed: ${args[0]}`;
  } catch (error) {
    if (isStackOverflow(error)) throw error;
    head = `Assertion failed: ${inspectValue(args[0], undefined)}`;
  }
  append(rest, head);
  for (let i = 1; i < args.length; i++) append(rest, args[i]);
  return formatLine(rest);
}

function traceText(args) {
  const holder = { name: 'Trace', message: formatLine(args) };
  ErrorCaptureStackTrace(holder, traceText);
  return ownData(holder, 'stack');
}

function dirText(value, options) {
  const ctx = makeContext(undefined, { customInspect: false });
  const given = makeContext(ctx, options);
  return formatValue(given, value, 0);
}

return {
  inspect: (value, options) => inspectValue(value, options),
  format: (args) => formatLine(args),
  dir: dirText,
  table: tableText,
  timeLine,
  assertLine,
  trace: traceText,
};

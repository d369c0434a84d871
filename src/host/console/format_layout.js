// The console's formatter: laying entries out on lines. Short objects stay on
// one line; longer ones get one entry per line; arrays of many short
// entries are set in columns.

// True when the entries fit on one line of breakLength columns after
// `start` columns of braces, names and indentation.
function isBelowBreakLength(ctx, output, start, base) {
  let total = output.length + start;
  if (total + output.length > ctx.breakLength) return false;
  for (let i = 0; i < output.length; i++) {
    total += output[i].length;
    if (total > ctx.breakLength) return false;
  }
  return base === '' || !includesText(base, '\n');
}

function reduceToSingleString(ctx, output, base, braces, type, recurseTimes, numeric) {
  const lead = base === '' ? '' : `${base} `;
  if (ctx.compact !== true) {
    if (typeof ctx.compact === 'number' && ctx.compact >= 1) {
      const entries = output.length;
      if (type === kArrayType && entries > 6) output = groupInColumns(ctx, output, numeric);
      if (ctx.currentDepth - recurseTimes < ctx.compact && entries === output.length) {
        const start = output.length + ctx.indentationLvl + braces[0].length + base.length + 10;
        if (isBelowBreakLength(ctx, output, start, base)) {
          const joined = joinList(output, ', ');
          if (!includesText(joined, '\n')) return `${lead}${braces[0]} ${joined} ${braces[1]}`;
        }
      }
    }
    const indentation = `\n${spaces(ctx.indentationLvl)}`;
    return `${lead}${braces[0]}${indentation}  ${joinList(output, `,${indentation}  `)}${indentation}${braces[1]}`;
  }
  if (isBelowBreakLength(ctx, output, 0, base)) {
    return `${braces[0]}${base === '' ? '' : ` ${base}`} ${joinList(output, ', ')} ${braces[1]}`;
  }
  const indentation = spaces(ctx.indentationLvl);
  const opening = base === '' && braces[0].length === 1 ? ' '
    : `${base === '' ? '' : ` ${base}`}\n${indentation}  `;
  return `${braces[0]}${opening}${joinList(output, `,\n${indentation}  `)} ${braces[1]}`;
}

function padText(text, width, atStart) {
  const fill = spaces(width - text.length);
  return atStart ? fill + text : text + fill;
}

// Rows of columns for an array's entries when they are many and short;
// numbers are aligned right, anything else left. The "... more items"
// entry stays on a line of its own.
function groupInColumns(ctx, output, numeric) {
  let total = 0;
  let longest = 0;
  let count = output.length;
  if (ctx.maxArrayLength < output.length) count--;
  const separator = 2;
  const widths = [];
  for (let i = 0; i < count; i++) {
    // An entry of a third of the line or more rules columns out.
    const width = textWidth(output[i], ctx.breakLength);
    if ((width + separator) * 3 + ctx.indentationLvl >= ctx.breakLength) return output;
    widths[i] = width;
    total += width + separator;
    if (longest < width) longest = width;
  }
  const cell = longest + separator;
  if (cell * 3 + ctx.indentationLvl >= ctx.breakLength ||
      (total / cell <= 5 && longest > 6)) {
    return output;
  }
  const bias = MathSqrt(cell - total / output.length);
  const biasedCell = MathMax(cell - 3 - bias, 1);
  const columns = MathMin(
    MathRound(MathSqrt(2.5 * biasedCell * count) / biasedCell),
    MathFloor((ctx.breakLength - ctx.indentationLvl) / cell),
    ctx.compact * 4,
    15);
  if (columns <= 1) return output;
  const columnWidths = [];
  for (let i = 0; i < columns; i++) {
    let widest = 0;
    for (let j = i; j < output.length; j += columns) {
      if (widths[j] > widest) widest = widths[j];
    }
    append(columnWidths, widest + separator);
  }
  const rows = [];
  for (let i = 0; i < count; i += columns) {
    const end = MathMin(i + columns, count);
    let row = '';
    let j = i;
    for (; j < end - 1; j++) {
      const padding = columnWidths[j - i] + output[j].length - widths[j];
      row += padText(`${output[j]}, `, padding, numeric);
    }
    if (numeric) {
      const padding = columnWidths[j - i] + output[j].length - widths[j] - separator;
      row += padText(output[j], padding, true);
    } else {
      row += output[j];
    }
    append(rows, row);
  }
  if (ctx.maxArrayLength < output.length) append(rows, output[count]);
  return rows;
}

// Codes that are not integers 0-255 throw a TypeError, and the script goes on.
for (const code of [-1, 256, 1.5, NaN, Infinity, '', ' 3', '3x', '256', null, {}, true, 2 ** 32 + 3]) {
  try {
    tarn.exit(code);
    console.log('exited?');
  } catch (e) {
    console.log(e.name + ' ' + String(code));
  }
}
tarn.exitCode = 5;

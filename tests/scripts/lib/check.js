// Assertions for script-level tests run by tarn-run. Load with
// tarn.load('lib/check.js'); finish with check.done(), which prints a summary
// and ends the run with status 1 when anything failed.
var check = (function () {
  let passed = 0;
  const failures = [];

  function show(value) {
    if (typeof value === 'string') return JSON.stringify(value);
    if (typeof value === 'bigint') return value + 'n';
    if (typeof value === 'symbol' || typeof value === 'function') return String(value);
    if (value === undefined) return 'undefined';
    try {
      return typeof value === 'object' && value !== null ? JSON.stringify(value) : String(value);
    } catch (e) {
      return Object.prototype.toString.call(value);
    }
  }

  function record(ok, what, detail) {
    if (ok) {
      passed++;
    } else {
      failures.push(what + ': ' + detail);
      console.error('FAIL ' + what + ': ' + detail);
    }
    return ok;
  }

  return {
    // Strict identity (Object.is): 0 and false, "" and undefined all differ.
    equal(actual, expected, what) {
      return record(Object.is(actual, expected), what,
                    'expected ' + show(expected) + ' (' + typeof expected + '), got ' + show(actual) +
                        ' (' + typeof actual + ')');
    },
    // Same JSON text, so same keys in the same order and same values.
    sameJson(actual, expected, what) {
      const a = JSON.stringify(actual);
      const e = JSON.stringify(expected);
      return record(a === e, what, 'expected ' + e + ', got ' + a);
    },
    ok(condition, what) {
      return record(!!condition, what, 'condition was false');
    },
    // fn must throw an Error (not just any value) with exactly this message.
    throws(fn, message, what) {
      try {
        const result = fn();
        return record(false, what, 'no exception; returned ' + show(result));
      } catch (e) {
        if (!(e instanceof Error)) return record(false, what, 'threw a non-Error ' + show(e));
        return record(e.message === message, what,
                      'expected message ' + show(message) + ', got ' + show(e.message));
      }
    },
    // Runs fn with the log captured; answers [result, the bridge's lines as
    // [level, text], every record]. The capture stops even when fn throws.
    logged(fn) {
      tarn.log.capture();
      let result;
      let records;
      try {
        result = fn();
      } finally {
        records = tarn.log.take();
        tarn.log.stop();
      }
      return [result,
              records.filter((r) => r.logger === 'tarn.qdutil.bridge').map((r) => [r.level, r.text]),
              records];
    },
    // The captured log records whose text is exactly `text`.
    linesWithText(records, text) {
      return records.filter((r) => r.text === text);
    },
    done() {
      console.log((failures.length ? 'FAILED' : 'OK') + ': ' + passed + ' passed, ' +
                  failures.length + ' failed');
      if (failures.length) tarn.exit(1);
    },
  };
})();

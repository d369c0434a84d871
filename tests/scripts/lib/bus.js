// Bus work for script tests run by tests/dbus/run_with_bus.sh: requests to
// the harness on standard output, and the engine events of the home screen's
// signals. Load with tarn.load('lib/bus.js') after lib/check.js; call
// bus.close() at the end so that the run can finish.
var bus = (function () {
  let nextId = 1;
  const waiting = new Map();  // id -> {resolve, timer}
  const acks = new Map();     // id -> how many copies arrived
  const events = [];          // {code, json} of every event but the acknowledgements

  function listener(code, args) {
    const json = args.json;
    const ack = typeof json === 'string' && /^@@ack (\d+) (\d+)$/.exec(json);
    if (ack) {
      const id = Number(ack[1]);
      acks.set(id, (acks.get(id) || 0) + 1);
      const w = waiting.get(id);
      if (w) {
        waiting.delete(id);
        clearTimeout(w.timer);
        w.resolve(Number(ack[2]));
      }
      return;
    }
    events.push({ code, json, keys: Object.keys(args) });
  }
  tarn.on('event', listener);

  // UTF-8 bytes of a text, then base64, so any text crosses one output line.
  function base64(text) {
    const bytes = unescape(encodeURIComponent(text));
    const table = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
    let out = '';
    for (let i = 0; i < bytes.length; i += 3) {
      const a = bytes.charCodeAt(i);
      const b = i + 1 < bytes.length ? bytes.charCodeAt(i + 1) : 0;
      const c = i + 2 < bytes.length ? bytes.charCodeAt(i + 2) : 0;
      out += table[a >> 2] + table[((a & 3) << 4) | (b >> 4)] +
             (i + 1 < bytes.length ? table[((b & 15) << 2) | (c >> 6)] : '=') +
             (i + 2 < bytes.length ? table[c & 63] : '=');
    }
    return out;
  }

  // Resolves with how many of the request's signals the bus carried, once
  // the acknowledgement has arrived (so every earlier signal has too);
  // rejects after `ms` without one.
  function request(words, ms) {
    const id = nextId++;
    console.log('@@bus ' + words[0] + ' ' + id + (words.length > 1 ? ' ' + words.slice(1).join(' ') : ''));
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => {
        waiting.delete(id);
        reject(new Error('no acknowledgement of ' + words[0] + ' ' + id + ' within ' + ms + ' ms'));
      }, ms);
      waiting.set(id, { resolve, timer });
    });
  }

  return {
    events,
    acks,
    // A GVariant text of a string (single quotes, escapes for ' and \).
    str(text) {
      return "'" + text.replace(/\\/g, '\\\\').replace(/'/g, "\\'") + "'";
    },
    // gdbus emit of org.tarn.FirstScreen.member with GVariant texts.
    emit(member, ...variants) {
      return request(['emit', member].concat(variants.map(base64)), 20000);
    },
    flood(member, count) {
      return request(['flood', member, String(count)], 180000);
    },
    ack(ms) {
      return request(['ack'], ms || 20000);
    },
    // The bus must carry exactly `count` installer signals in the whole run.
    expectInstallerSignals(count) {
      console.log('@@bus installer ' + count);
    },
    kill() {
      console.log('@@bus kill');
    },
    take() {
      return events.splice(0, events.length);
    },
    close() {
      tarn.off('event', listener);
      for (const w of waiting.values()) clearTimeout(w.timer);
      waiting.clear();
    },
  };
})();

// Volume on a real bus: a 64 KB UTF-8 JSON text arrives byte for byte, and
// 10,000 signals of each of the seven members, sent as fast as one GIO
// connection can, arrive as exactly that many engine events, texts intact
// and in order, matching what the bus carried.
tarn.load('lib/check.js');
tarn.load('lib/bus.js');

const q = new QDUtil();
const members = ['RecentChanged', 'InstallNotify', 'PVRPopupHide', 'ExternalNotify', 'AvailableNotify',
                 'AutoYoutube', 'AutoBrowser'];
const N = 10000;
const utf8Length = (text) => unescape(encodeURIComponent(text)).length;

async function main() {
  check.equal(q.registerRecentChanged(), true, 'registered');
  let subscribed = false;
  for (let i = 0; i < 40 && !subscribed; i++) {
    try {
      await bus.ack(500);
      subscribed = true;
    } catch (e) {
      // not yet
    }
  }
  check.ok(subscribed, 'the subscription took effect');
  bus.take();

  // A JSON text of at least 64 KB with 1- to 4-byte characters and escapes.
  const words = ['ascii', 'caf\u00e9', '\u00fcber', '\u6771\u4eac', '\u0928\u092e\u0938\u094d\u0924\u0947',
                 '\ud83d\udcfa\ud83c\udfae', 'quote "x" \\ back', 'line\nbreak\ttab', "it's"];
  const items = [];
  let text = '';
  for (let i = 0; utf8Length(text) < 65536; i++) {
    items.push({ n: i, w: words[i % words.length] });
    if (i % 64 === 63) text = JSON.stringify({ items });
  }
  text = JSON.stringify({ items });
  check.ok(utf8Length(text) >= 65536, 'the text is ' + utf8Length(text) + ' bytes of UTF-8');
  const carried = await bus.emit('ExternalNotify', bus.str(text));
  check.equal(carried, 1, 'the bus carried the large signal');
  const large = bus.take();
  check.equal(large.length, 1, 'one event for the large signal');
  check.equal(large[0] && large[0].code, 3, 'event 3');
  check.ok(large[0] && large[0].json === text, 'the 64 KB text arrives unchanged');
  check.equal(large[0] && utf8Length(large[0].json), utf8Length(text), 'byte for byte');
  check.sameJson(JSON.parse(large[0].json).items.length, items.length, 'and parses to the same items');

  // Floods of each member.
  for (let code = 0; code < members.length; code++) {
    const member = members[code];
    const onBus = await bus.flood(member, N);
    const events = bus.take();
    check.equal(onBus, N, member + ': the bus carried ' + N + ' signals');
    check.equal(events.length, N, member + ': ' + N + ' engine events');
    let intact = true;
    for (let i = 0; i < events.length; i++) {
      if (events[i].code !== code || events[i].json !== '{"member":"' + member + '","n":' + i + '}') {
        intact = false;
        check.ok(false, member + ': event ' + i + ' is ' + JSON.stringify(events[i]));
        break;
      }
    }
    check.ok(intact, member + ': every code and text intact, in order');
  }

  check.equal(q.unregisterRecentChanged(), true, 'unregistered');
  bus.close();
  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});

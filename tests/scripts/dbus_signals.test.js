// The home screen's signals on a private system bus become engine events 0 to
// 6 with the first parameter's text under "json"; "sendMessageTRT" signals
// the installer; registering twice doubles every event. Run by
// tests/dbus/run_with_bus.sh, which emits with gdbus and watches the bus.
tarn.load('lib/check.js');
tarn.load('lib/bus.js');

const q = new QDUtil();
const members = ['RecentChanged', 'InstallNotify', 'PVRPopupHide', 'ExternalNotify', 'AvailableNotify',
                 'AutoYoutube', 'AutoBrowser'];
// The bridge's lines, up to the callback lines of the first acknowledgement.
function bridgeLines(records) {
  const lines = records.filter((r) => r.logger === 'tarn.qdutil.bridge')
                    .map((r) => [r.level, r.function, r.text]);
  const ack = lines.findIndex((l) => / val: @@ack \d+ \d+\n$/.test(l[2]));
  return ack < 0 ? lines : lines.slice(0, ack - 2);
}

// The first acknowledgement may race the subscription reaching the bus.
async function subscribed() {
  for (let i = 0; i < 40; i++) {
    try {
      await bus.ack(500);
      return;
    } catch (e) {
      // not yet subscribed
    }
  }
  throw new Error('the subscription never took effect');
}

// Emits, waits for the acknowledgement, and answers [events, bridge lines].
async function emitted(member, ...variants) {
  tarn.log.capture();
  const carried = await bus.emit(member, ...variants);
  const lines = bridgeLines(tarn.log.take());
  tarn.log.stop();
  check.equal(carried, 1, member + ': the bus carried the signal');
  return [bus.take(), lines];
}

async function main() {
  let installerSignals = 0;

  // --- before any registration ---------------------------------------------
  tarn.log.capture();
  check.equal(q.sendMessageTRT(), true, '"sendMessageTRT" before "registerRecentChanged" still answers true');
  check.equal(q.unregisterRecentChanged(), true, '"unregisterRecentChanged" with no connection answers true');
  check.equal(q.unregisterRecentChanged(), true, '"unregisterRecentChanged" twice in a row answers true again');
  check.sameJson(bridgeLines(tarn.log.take()),
                 [[2, 'HandleSendMessageTRT', '[TARN] Send Message for TRT-Installer ret = 0']],
                 'the failed emit shows only in the log line');

  // --- register --------------------------------------------------------------
  check.equal(q.registerRecentChanged(), true, 'registerRecentChanged answers true');
  check.sameJson(bridgeLines(tarn.log.take()),
                 [[2, 'HandleRegisterRecentChanged', '[TARN] subscribeRecentChangedEvent']], 'its line');
  tarn.log.stop();
  await subscribed();
  bus.take();

  // --- each member to its code -----------------------------------------------
  for (let code = 0; code < members.length; code++) {
    const member = members[code];
    const text = '{"member":"' + member + '","code":' + code + '}';
    const [events, lines] = await emitted(member, bus.str(text));
    check.sameJson(events, [{ code, json: text, keys: ['json'] }],
                   member + ' produces event ' + code + ' with the "json" text of its first parameter');
    const expected = [
      [2, '_onRecentChangedEvent', '[TARN] onRecentChangedEvent'],
      [2, '_onRecentChangedEvent', '[TARN] g_variant_type_is_array'],
    ];
    check.sameJson(lines.slice(0, 2), expected, member + ': the callback\'s first lines');
    const summary = lines[2] ? lines[2][2] : '';
    const pattern = new RegExp('^\\[TARN\\] sender: :\\d+\\.\\d+ object: /org/tarn/FirstScreen ' +
                               'interface: org\\.tarn\\.FirstScreen signal: ' + member + ' val: ' +
                               text.replace(/[{}.*+?^$()|[\]\\]/g, '\\$&') + '\n$');
    check.ok(pattern.test(summary), member + ': the summary line names sender, object, interface, member, ' +
             'value and ends in a newline: ' + JSON.stringify(summary));
    if (member === 'RecentChanged') {
      check.sameJson(lines.slice(3), [[2, '_onRecentChangedEvent', '[TARN] send complete']],
                     'RecentChanged is followed by "send complete"');
    } else {
      check.equal(lines.length, 3, member + ': no "send complete" line');
    }
  }

  // --- members that produce no event ---------------------------------------
  for (const member of ['recentchanged', 'RECENTCHANGED', 'Recentchanged', 'RecentChanged2', 'autoBrowser',
                        'Unknown']) {
    const [events, lines] = await emitted(member, bus.str('{"x":1}'));
    check.sameJson(events, [], 'member ' + member + ' produces no event (the comparison is exact)');
    check.equal(lines.length, 3, member + ': still logged on arrival');
  }

  // --- parameters --------------------------------------------------------------
  {
    const [events, lines] = await emitted('AutoBrowser');
    check.sameJson(events, [{ code: 6, json: '', keys: ['json'] }],
                   'a signal without parameters gives the empty "json" text');
    check.ok(/ val: \n$/.test(lines[2][2]), 'and an empty value in the summary');
  }
  for (const [what, variant] of [['a number', 'int32 42'], ['a double', '3.5'], ['a boolean', 'true'],
                                 ['an array of texts', "['a', 'b']"], ['an empty array', '@as []'],
                                 ['a variant holding a text', "<'text'>"],
                                 ['nested variants', "<<'deep'>>"], ['a structure', "(1, 'x')"],
                                 ['a dictionary', "{'k': 'v'}"], ['an object path', "objectpath '/a/b'"],
                                 ['a byte string', "b'bytes'"]]) {
    const [events] = await emitted('RecentChanged', variant);
    check.sameJson(events, [{ code: 0, json: '', keys: ['json'] }],
                   'a first parameter that is ' + what + ' gives the empty text');
  }
  {
    const [events] = await emitted('InstallNotify', bus.str('first'), bus.str('second'), 'int32 7');
    check.sameJson(events, [{ code: 1, json: 'first', keys: ['json'] }], 'only the first parameter counts');
    const [later] = await emitted('InstallNotify', '42', bus.str('second'));
    check.sameJson(later, [{ code: 1, json: '', keys: ['json'] }],
                   'a number first and a text second: the empty text');
    const odd = 'quote \' backslash \\ tab \t newline \n caf\u00e9 \u6771\u4eac \ud83d\ude00';
    const [texts] = await emitted('ExternalNotify', bus.str(odd));
    check.sameJson(texts, [{ code: 3, json: odd, keys: ['json'] }], 'any text arrives unchanged');
  }

  // --- the installer signal ----------------------------------------------------
  tarn.log.capture();
  check.equal(q.sendMessageTRT('ignored'), true, 'sendMessageTRT answers true');
  check.equal(q.sendMessageTRT(), true, 'and again');
  installerSignals += 2;
  check.sameJson(bridgeLines(tarn.log.take()),
                 Array(2).fill([2, 'HandleSendMessageTRT', '[TARN] Send Message for TRT-Installer ret = 1']),
                 'a sent signal logs ret = 1');
  tarn.log.stop();

  // --- registering twice doubles every event -------------------------------------
  check.equal(q.registerRecentChanged(), true, 'a second registration answers true');
  await subscribed();
  await bus.ack();  // both subscriptions are in place once an acknowledgement came twice
  bus.take();
  {
    const [events] = await emitted('AutoYoutube', bus.str('twice'));
    await bus.ack();
    check.sameJson(events.concat(bus.take()), [{ code: 5, json: 'twice', keys: ['json'] },
                                               { code: 5, json: 'twice', keys: ['json'] }],
                   'after a second registration each signal is delivered twice');
  }
  check.equal(q.unregisterRecentChanged(), true, 'unregistering answers true');
  check.equal(q.unregisterRecentChanged(), true, 'and again, with the handle already null');
  {
    // The first registration's reference was overwritten, not released, so the
    // connection and both subscriptions live on.
    const [events] = await emitted('PVRPopupHide', bus.str('still'));
    await bus.ack();
    check.sameJson(events.concat(bus.take()), [{ code: 2, json: 'still', keys: ['json'] },
                                               { code: 2, json: 'still', keys: ['json'] }],
                   'unregistering drops the connection, not the subscriptions');
  }
  tarn.log.capture();
  q.sendMessageTRT();
  check.sameJson(bridgeLines(tarn.log.take()),
                 [[2, 'HandleSendMessageTRT', '[TARN] Send Message for TRT-Installer ret = 0']],
                 'after unregistering there is no connection to send with');
  tarn.log.stop();

  bus.expectInstallerSignals(installerSignals);
  bus.close();
  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});

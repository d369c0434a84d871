// Bluetooth: bring-up and tear-down, bonded devices reaching the stored
// function one call per device after "getBlueToothDevice" has returned, and
// the HID commands of the TV's own remote.
tarn.load('lib/check.js');

const q = new QDUtil();
const bridgeLines = (records) =>
  records.filter((r) => r.logger === 'tarn.qdutil.bridge').map((r) => [r.level, r.text]);

const logged = check.logged;

// Resolves once cond() holds, or rejects after `ms`.
function waitFor(cond, ms, what) {
  const deadline = Date.now() + ms;
  return new Promise((resolve, reject) => {
    (function poll() {
      if (cond()) return resolve();
      if (Date.now() > deadline) return reject(new Error('timed out waiting for ' + what));
      setTimeout(poll, 5);
    })();
  });
}
const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

const builtIn = [
  { remoteAddress: 'A4:6C:F1:10:22:3E', remoteName: 'Smart Remote', isBonded: true,
    isConnected: true, vid: 1256, pid: 41024 },
  { remoteAddress: '00:1B:66:A1:B2:C3', remoteName: 'Wireless Headphones', isBonded: true,
    isConnected: false, vid: 1133, pid: 2818 },
  { remoteAddress: '5C:F3:70:8A:01:7D', remoteName: 'Game Pad', isBonded: true,
    isConnected: false, vid: 0, pid: 0 },
];

async function main() {
  // --- bring-up and tear-down ----------------------------------------------
  {
    const [before, beforeLines] = logged(() => q.getBlueToothDevice(() => {}));
    check.equal(before, -257, 'enumeration before bt_initialize answers the stack\'s error');
    check.sameJson(beforeLines, [[3, 'HandleGetBlueToothDevice'], [3, '[BT]HandleGetBlueToothDevice ret :-257']],
                   'the enumeration lines, with the error');

    const [deinit, deinitLines] = logged(() => q.deInitializeBlueTooth());
    check.equal(deinit, -257, 'tear-down of a stack that is not up answers its error');
    check.sameJson(deinitLines, [[3, '[Tarn] [bt] HandleDeInitializeBlueTooth'],
                                 [3, '[Tarn] [bt] bt_deinitialize() failed.']], 'and logs the failure');

    tarn.sim.forceResult('bt_initialize', -259);
    const [failed, failedLines] = logged(() => q.initializeBlueTooth());
    check.equal(failed, -259, 'a failed bring-up answers the stack\'s code');
    check.sameJson(failedLines, [[3, '[Tarn] [bt] HandleInitializeBlueTooth'],
                                 [3, '[Tarn] [bt] bt_initialize() failed.']], 'and logs the failure');

    const [init, initLines] = logged(() => q.initializeBlueTooth('ignored'));
    check.equal(init, 0, 'bring-up answers 0');
    check.sameJson(initLines, [[3, '[Tarn] [bt] HandleInitializeBlueTooth']], 'one line on success');
    check.equal(tarn.sim.get('bluetooth.initialized'), true, 'the stack is up');
    check.equal(q.deInitializeBlueTooth(), 0, 'tear-down answers 0');
    check.equal(tarn.sim.get('bluetooth.initialized'), false, 'the stack is down');
    check.equal(q.initializeBlueTooth(), 0, 'up again');
  }

  // --- delivery of the bonded devices --------------------------------------
  {
    const got = [];
    let returned = false;
    tarn.sim.clearJournal();
    const [result, lines] = logged(() => q.getBlueToothDevice(function (device) {
      got.push({ device, returnedFirst: returned, args: arguments.length });
    }));
    returned = true;
    check.equal(result, 0, 'enumeration answers the stack\'s 0');
    check.equal(got.length, 0, 'nothing is delivered inside the call');
    check.sameJson(lines, [[3, 'HandleGetBlueToothDevice'],
                           [2, '[Tarn] [bt] __bt_adapter_bonded_device_cb'],
                           [2, '[Tarn] [bt] __bt_adapter_bonded_device_cb'],
                           [2, '[Tarn] [bt] __bt_adapter_bonded_device_cb'],
                           [3, '[BT]HandleGetBlueToothDevice ret :0']],
                   'one platform-callback line per device between the call\'s lines');
    const asked = tarn.sim.journal('GetRemoteVidPid').map((c) => c.arguments[0]);
    check.sameJson(asked, builtIn.map((d) => d.remoteAddress), 'vendor and product asked per address');
    tarn.log.capture();
    await waitFor(() => got.length >= 3, 5000, 'three devices');
    await pause(50);
    const deliveryLines = bridgeLines(tarn.log.take());
    tarn.log.stop();
    check.equal(got.length, 3, 'one call per bonded device');
    check.sameJson(got.map((g) => g.device), builtIn, 'each device object, keys in order, in enumeration order');
    check.ok(got.every((g) => g.returnedFirst && g.args === 1), 'after the call returned, one argument each');
    check.sameJson(got.map((g) => Object.keys(g.device)),
                   Array(3).fill(['remoteAddress', 'remoteName', 'isBonded', 'isConnected', 'vid', 'pid']),
                   'exactly the six properties');
    check.sameJson(got[2].device.vid + ',' + got[2].device.pid, '0,0',
                   'a device with unknown vendor and product ids has vid 0 and pid 0');
    check.sameJson(deliveryLines,
                   [].concat(...Array(3).fill([[2, '[Tarn] [bt] FireOnCallbacks'],
                                               [3, '[Tarn] [bt] js_callback.isNull'],
                                               [2, '[Tarn] [bt] js_callback.isFunction']])),
                   'three delivery lines per device');
  }

  // --- no bonded devices ---------------------------------------------------
  {
    tarn.sim.set('bluetooth.devices', []);
    let calls = 0;
    tarn.log.capture();
    check.equal(q.getBlueToothDevice(() => calls++), 0, 'no devices: the enumeration result');
    await pause(100);
    const lines = bridgeLines(tarn.log.take());
    tarn.log.stop();
    check.equal(calls, 0, 'no devices: the function is never called');
    check.equal(lines.filter((l) => l[1] === '[Tarn] [bt] FireOnCallbacks').length, 0, 'nothing queued');
  }

  // --- a stored value that is not a function -------------------------------
  tarn.sim.reset();
  q.initializeBlueTooth();
  for (const [what, value] of [['a number', 42], ['no argument', undefined], ['an object', { a: 1 }],
                               ['a text', 'function () {}']]) {
    tarn.log.capture();
    const result = value === undefined ? q.getBlueToothDevice() : q.getBlueToothDevice(value);
    await pause(100);
    const lines = bridgeLines(tarn.log.take());
    tarn.log.stop();
    check.equal(result, 0, 'getBlueToothDevice with ' + what + ' still enumerates');
    check.equal(lines.filter((l) => l[1] === '[Tarn] [bt] __bt_adapter_bonded_device_cb').length, 3,
                what + ': all three devices reported');
    const delivery = lines.filter((l) => /FireOnCallbacks|js_callback/.test(l[1]));
    check.sameJson(delivery, [].concat(...Array(3).fill([[2, '[Tarn] [bt] FireOnCallbacks'],
                                                         [3, '[Tarn] [bt] js_callback.isNull']])),
                   what + ': each delivery is skipped after the js_callback line');
  }

  // --- a null function: records arrive before any function, freed silently --
  {
    tarn.log.capture();
    check.equal(q.getBlueToothDevice(null), 0, 'null is stored and the devices enumerated');
    await pause(100);
    const lines = bridgeLines(tarn.log.take()).filter((l) => /FireOnCallbacks|js_callback/.test(l[1]));
    tarn.log.stop();
    check.sameJson(lines, Array(3).fill([2, '[Tarn] [bt] FireOnCallbacks']),
                   'with no function each record is dropped after the first line, calling nothing');
  }

  // --- replacing the function while records are queued ---------------------
  {
    const first = [];
    const second = [];
    q.getBlueToothDevice((d) => first.push(d.remoteAddress));
    q.getBlueToothDevice((d) => second.push(d.remoteAddress));
    await waitFor(() => second.length >= 6, 5000, 'six deliveries');
    await pause(50);
    check.equal(first.length, 0, 'the replaced function receives nothing');
    check.sameJson(second, builtIn.map((d) => d.remoteAddress).concat(builtIn.map((d) => d.remoteAddress)),
                   'records queued for the first function go to the second, in order');
  }

  // --- empty and null texts from the stack ---------------------------------
  {
    tarn.sim.set('bluetooth.devices', [
      { address: '11:22:33:44:55:66', name: '', bonded: true, connected: false, vid: 1, pid: 2 },
      { address: null, name: 'No Address', bonded: true, connected: true, vid: 3, pid: 4 },
      { address: '66:55:44:33:22:11', name: null, bonded: true, connected: false, vid: 5, pid: 6 },
      { address: null, name: null, bonded: true, connected: false, vid: null, pid: null },
      { address: 'AA:AA:AA:AA:AA:AA', name: 'Not bonded', bonded: false, connected: false, vid: 7, pid: 8 },
    ]);
    const got = [];
    tarn.sim.clearJournal();
    check.equal(q.getBlueToothDevice((d) => got.push(d)), 0, 'enumeration with odd texts');
    await waitFor(() => got.length >= 4, 5000, 'four devices');
    await pause(50);
    const reports = tarn.sim.journal('report.bondedDevice').map((c) => c.arguments);
    check.sameJson(reports, [['11:22:33:44:55:66', ''], [null, 'No Address'], ['66:55:44:33:22:11', null],
                             [null, null]], 'the stack reported null pointers');
    check.sameJson(got, [
      { remoteAddress: '11:22:33:44:55:66', remoteName: '', isBonded: true, isConnected: false, vid: 1, pid: 2 },
      { remoteAddress: '', remoteName: 'No Address', isBonded: true, isConnected: true, vid: 0, pid: 0 },
      { remoteAddress: '66:55:44:33:22:11', remoteName: '', isBonded: true, isConnected: false, vid: 5, pid: 6 },
      { remoteAddress: '', remoteName: '', isBonded: true, isConnected: false, vid: 0, pid: 0 },
    ], 'an empty name stays the empty text; a null address or name becomes the empty text');
    check.equal(typeof got[0].remoteName, 'string', 'an empty name is a text, not null');
    check.sameJson(tarn.sim.journal('GetRemoteVidPid').map((c) => c.arguments[0]),
                   ['11:22:33:44:55:66', '', '66:55:44:33:22:11', ''],
                   'a null address is asked for as the empty text, never as a null pointer');
  }

  // --- HID commands ----------------------------------------------------------
  {
    const cases = [
      ['StartBT', true, 22, 'started', true], ['StartBT', false, 23, 'started', false],
      ['SetBT', true, 20, 'set', true], ['SetBT', false, 21, 'set', false],
    ];
    for (const [method, on, code, key, value] of cases) {
      tarn.sim.clearJournal();
      const [result, lines] = logged(() => q[method](on));
      check.equal(result, true, method + '(' + on + ') is accepted');
      check.sameJson(lines, [[3, '[KOVA] excute ' + method]], method + ' logs its line');
      const sent = tarn.sim.journal('SendHidDeviceCommand').map((c) => c.arguments);
      check.sameJson(sent, [[null, 0, code]], method + '(' + on + ') sends ' + code + ' to the TV\'s remote');
      check.equal(tarn.sim.get('bluetooth.hid.' + key), value, 'the remote is ' + key + '=' + value);
    }
    for (const [what, value, code] of [['no argument', undefined, 23], ['"false"', 'false', 22],
                                        ['0', 0, 23], ['an object', {}, 22], ['NaN', NaN, 23]]) {
      tarn.sim.clearJournal();
      if (value === undefined) q.StartBT(); else q.StartBT(value);
      check.equal(tarn.sim.journal('SendHidDeviceCommand')[0].arguments[2], code,
                  'StartBT with ' + what + ' converts as a boolean: ' + code);
    }
    tarn.sim.forceResult('SendHidDeviceCommand', -2);
    check.equal(q.SetBT(true), false, 'a refused command answers false');
    check.equal(q.SetBT(true), true, 'and the next is accepted again');
  }

  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});

// The app-list control methods forward to the platform's client in the order
// and with the texts script gives, log their names and always answer true.
tarn.load('lib/check.js');

const q = new QDUtil();
function logged(fn) {
  tarn.log.capture();
  const result = fn();
  const lines = tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge').map((r) => [r.level, r.function, r.text]);
  tarn.log.stop();
  return [result, lines];
}
const calls = (op) => tarn.sim.journal('AppListControlClient.' + op).map((c) => [c.arguments, c.result]);

tarn.sim.clearJournal();
let [r, lines] = logged(() => q.AppControl_DisableItem('org.tarn.apps', 'item1'));
check.equal(r, true, 'DisableItem before a connection answers true');
check.sameJson(lines, [[2, 'HandleAppControlDisableItem', 'HandleAppControlDisableItem']], 'its line');
check.sameJson(calls('disableItem'), [[['org.tarn.apps', 'item1'], -2]], 'forwarded; the client refused (not connected)');

[r, lines] = logged(() => q.AppControl_InitDbusConnection('ignored'));
check.equal(r, true, 'InitDbusConnection answers true');
check.sameJson(lines, [[2, 'HandleAppControlInitDbusConnection', 'HandleAppControlInitDbusConnection']], 'its line');
check.equal(tarn.sim.get('appList.connected'), true, 'the client is connected');

check.equal(q.AppControl_DisableItem('org.tarn.apps', 'item1'), true, 'DisableItem answers true');
check.equal(q.AppControl_DisableItem('org.tarn.games', 'item2'), true, 'a second app');
check.equal(q.AppControl_DisableItem('org.tarn.apps', 'item3'), true, 'a second item');
check.sameJson(tarn.sim.get('appList.disabledItems'),
               [{ app: 'org.tarn.apps', item: 'item1' }, { app: 'org.tarn.games', item: 'item2' },
                { app: 'org.tarn.apps', item: 'item3' }], 'the two texts in the order given');

tarn.sim.clearJournal();
[r, lines] = logged(() => q.AppControl_RemoveDisabledItemsByAppname('org.tarn.apps'));
check.equal(r, true, 'RemoveDisabledItemsByAppname answers true');
check.sameJson(lines, [[2, 'HandleAppControlRemoveDisabledItemsByAppname', 'HandleAppControlRemoveDisabledItemsByAppname'],
                       [2, 'HandleAppControlRemoveDisabledItemsByAppname', ' appName org.tarn.apps']],
               'its name, then " appName " and the name');
check.sameJson(calls('removeDisabledItemsByAppname'), [[['org.tarn.apps'], 0]], 'forwarded once');
check.sameJson(tarn.sim.get('appList.disabledItems'), [{ app: 'org.tarn.games', item: 'item2' }],
               'only that app\'s items are gone');

// Arguments convert as the script's ToString does; the client's refusals do not show.
tarn.sim.clearJournal();
check.equal(q.AppControl_DisableItem(), true, 'no arguments: true');
check.equal(q.AppControl_DisableItem(12, null), true, 'a number and null: true');
check.equal(q.AppControl_DisableItem('', ''), true, 'empty texts (refused by the client): true');
check.sameJson(calls('disableItem').map((c) => c[0]), [['undefined', 'undefined'], ['12', 'null'], ['', '']],
               'converted with ToString');
check.equal(calls('disableItem')[2][1], -1, 'the client refused the empty texts');
[r, lines] = logged(() => q.AppControl_RemoveDisabledItemsByAppname());
check.equal(r, true, 'RemoveDisabledItemsByAppname with no argument: true');
check.equal(lines[1][2], ' appName undefined', 'the missing name is "undefined"');
check.throws(() => q.AppControl_DisableItem(Symbol('x'), 'b'), 'Cannot convert a Symbol value to a string',
             'a Symbol is the script\'s own TypeError');

tarn.sim.forceResult('AppListControlClient.initDbusConnection', -2);
check.equal(q.AppControl_InitDbusConnection(), true, 'a failed connection still answers true');
[r, lines] = logged(() => q.AppControl_FiniDbusConnection());
check.equal(r, true, 'FiniDbusConnection answers true');
check.sameJson(lines, [[2, 'HandleAppControlFiniDbusConnection', 'HandleAppControlFiniDbusConnection']], 'its line');
check.equal(tarn.sim.get('appList.connected'), false, 'disconnected');
check.equal(q.AppControl_FiniDbusConnection(), true, 'a second Fini (refused by the client): true');
check.done();

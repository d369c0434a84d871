// What console_bench.py times, the same under tarn-run and node:
//   console_workload.js lines | objects | big | plain-once | value-once
'use strict';

const mode = (typeof tarn !== 'undefined' ? tarn.args : process.argv.slice(2))[0];

function record(i) {
  return {
    id: i,
    name: 'item ' + i,
    tags: ['alpha', 'beta', 'gamma'],
    nested: { x: i * 2, y: [1, 2, 3], label: 'inner text', flag: i % 2 === 0 },
    when: new Date(86400000 * (i % 1000)),
    map: new Map([[1, 'one'], ['two', 2]]),
    missing: null,
  };
}

// About 1 MB as JSON: 4,000 records of some 250 bytes, three levels deep.
function bigObject() {
  const root = { title: 'big', groups: [] };
  for (let g = 0; g < 40; g++) {
    const group = { name: 'group ' + g, items: [] };
    for (let i = 0; i < 100; i++) {
      group.items.push({
        id: g * 100 + i,
        text: 'some text of the item, long enough to matter ' + i,
        values: [i, i + 1, i + 2, i * 3.5],
        detail: { a: 'x'.repeat(20), b: i % 3 === 0, c: { deep: 'y'.repeat(30) } },
      });
    }
    root.groups.push(group);
  }
  return root;
}

switch (mode) {
  case 'lines':
    for (let i = 0; i < 200000; i++) console.log('line', i);
    break;
  case 'objects':
    for (let i = 0; i < 20000; i++) console.log(record(i));
    break;
  case 'big':
    console.dir(bigObject(), { depth: null, maxArrayLength: null });
    break;
  case 'plain-once':
    console.log('a plain text');
    break;
  case 'value-once':
    console.log({ a: 1, b: [1, 2] });
    break;
  default:
    throw new Error('unknown workload ' + mode);
}

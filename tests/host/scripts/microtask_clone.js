// queueMicrotask runs before promise reactions queued after it and before any
// timer; structuredClone copies through the engine's serializer; a throwing
// microtask is an uncaught error that ends the run.
const order = [];
queueMicrotask(() => order.push('micro'));
Promise.resolve().then(() => order.push('promise'));
order.push('sync');
setTimeout(() => {
  console.log(order.join(','));
  const src = {a: [1, {b: 2}], d: new Date(0), m: new Map([[1, 'x']]), s: new Set([1]), r: /x/g, u: undefined};
  src.self = src;
  const c = structuredClone(src);
  console.log(c !== src, c.self === c, c.a[1].b, c.d instanceof Date, c.m.get(1), c.s.has(1), c.r.source, 'u' in c);
  try { structuredClone(() => 1); } catch (e) { console.log(e.name, e.message); }
  try { structuredClone(); } catch (e) { console.log(e.name, e.message); }
  try { queueMicrotask(5); } catch (e) { console.log(e.name, e.message); }
  queueMicrotask(() => { throw new Error('in a microtask'); });
  queueMicrotask(() => console.log('not reached'));
}, 0);

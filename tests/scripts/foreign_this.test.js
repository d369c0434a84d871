// A method or a constant reached with a `this` that is not a "QDUtil" object
// backed by the bridge is refused with a script Error, and the handler does
// not run.
tarn.load('lib/check.js');

const q = new QDUtil();
const noInstance = 'Cannot call native method without object instance';
const registerKey = QDUtil.prototype.registerKey;
const set3dMode = QDUtil.prototype.set3dMode;

tarn.log.capture();
check.throws(() => set3dMode.call({}), noInstance, 'a plain object as this');
check.equal(check.linesWithText(tarn.log.take(), 'HandleSet3dMode was deprecated.').length, 0,
            'the handler did not run for a plain object');
tarn.log.stop();

check.throws(() => registerKey.call(5), noInstance, 'a number as this');
check.throws(() => registerKey.call('text'), noInstance, 'a text as this');
check.throws(() => registerKey.call(undefined), noInstance, 'undefined as this');
check.throws(() => registerKey.call(null), noInstance, 'null as this');
check.throws(() => registerKey.call(Symbol('s')), noInstance, 'a Symbol as this');
check.throws(() => registerKey.call(QDUtil.prototype), noInstance, 'the prototype as this');
check.throws(() => registerKey.call(Object.create(q)), noInstance, 'an object inheriting from one');
check.throws(() => new Proxy(q, {}).registerKey(), noInstance, 'a Proxy of a QDUtil object');
check.throws(() => registerKey.call(new Uint8Array(8)), noInstance, 'a typed array as this');
const detachedCall = registerKey;
check.throws(() => detachedCall(), noInstance, 'a method called without an object');

// A native object of another bridge's class has internal fields too: the
// class is what counts.
if (typeof OtherNative === 'function') {
  const other = new OtherNative();
  check.equal(other.ping(), 'pong', 'the other bridge works on its own objects');
  check.throws(() => registerKey.call(other), noInstance, "another bridge's object as this");
  check.throws(() => other.ping.call(q), noInstance, "a QDUtil object given to another bridge's method");
  check.throws(() => Object.getOwnPropertyDescriptor(Object.getPrototypeOf(q), 'registerKey')
                   .value.apply(other, []), noInstance, "apply with another bridge's object");
} else {
  check.ok(false, 'the test bridge with class OtherNative is loaded');
}

// Constants read through an object that merely inherits from a QDUtil object
// still find the QDUtil object as their holder.
check.equal(Object.create(q).NB_MODE, 5, 'a constant read through an inheriting object');
check.equal(new Proxy(q, {}).NB_MODE, 5, 'a constant read through a Proxy');

// An object whose native pointer the engine has cleared.
const gone = new QDUtil();
tarn.test.detachNative(gone);
const destroyed = 'Attempt to access destroyed JavaScript object.';
check.throws(() => gone.registerKey(), destroyed, 'a method on a cleared object');
check.throws(() => gone.NB_MODE, destroyed, 'a constant read on a cleared object');
check.throws(() => { gone.NB_MODE = 1; }, destroyed, 'a constant write on a cleared object');
check.equal(q.registerKey(), true, 'other objects are not affected');

// An object whose methods were already called, then cleared: the receiver
// check must not answer from what it saw before.
const used = new QDUtil();
for (let i = 0; i < 3; i++) check.equal(used.registerKey(), true, 'a method on a live object');
tarn.test.detachNative(used);
check.throws(() => used.registerKey(), destroyed, 'a method on an object cleared after use');
// The same method then called on objects of other classes and on plain
// objects, right after a successful call on a QDUtil object.
for (const other of [{}, Object.create(QDUtil.prototype), new Proxy(q, {})]) {
  check.equal(q.registerKey(), true, 'a call on a QDUtil object');
  check.throws(() => QDUtil.prototype.registerKey.call(other),
               'Cannot call native method without object instance',
               'the next call on a foreign receiver is refused');
}

// The class itself.
check.throws(() => QDUtil(), "Class constructor QDUtil cannot be invoked without 'new'",
             'calling the class without new');
const x = new QDUtil(1, 'two', { three: 3 }, Symbol('four'));
check.equal(x.registerKey(), true, 'constructed with any arguments');

check.done();

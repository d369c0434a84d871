// A native failure inside a timer's script is that script's uncaught Error.
const t = new Thrower();
setTimeout(function inTimer() { t.call('std'); }, 1);

// Changes the state and calls the platform on request of tarn.args, then waits.
const q = new QDUtil();
setInterval(() => q.getWakeupReason(), 20);
console.log('started');

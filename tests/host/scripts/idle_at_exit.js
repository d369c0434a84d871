// 10,000 idle calls (half without a destroy notifier) still queued when the
// script exits: every record is freed (the bridge reports any left).
const t = new Thrower();
t.queueIdle(10000);
console.log('queued, live records: ' + t.liveRecords());
tarn.exit(0);

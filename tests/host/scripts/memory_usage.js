// tarn.memoryUsage(): node's fields of process.memoryUsage(), in bytes, with
// the bytes of array buffers counted.
const keys = Object.keys(tarn.memoryUsage()).join();
const before = tarn.memoryUsage().arrayBuffers;
const buffer = new ArrayBuffer(1 << 20);
const m = tarn.memoryUsage();
console.log(keys);
console.log(m.arrayBuffers - before >= buffer.byteLength, m.external >= m.arrayBuffers,
            m.heapUsed <= m.heapTotal, m.rss > m.heapTotal,
            Object.values(m).every(Number.isInteger));

// A try/finally does not catch the exit.
try { tarn.exit(6); } catch (e) { console.log('caught'); } finally { console.log('finally'); }
console.log('after');

const t = new Thrower();
try { console.log(t.BOOM); } catch (e) { console.log('read: ' + e.message); }
try { t.BOOM = 1; } catch (e) { console.log('write: ' + e.message); }

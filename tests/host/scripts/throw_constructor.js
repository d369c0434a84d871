for (const kind of ['runtime', 'std', 'other']) {
  try { new Thrower(kind); console.log('constructed'); } catch (e) { console.log(kind + ': ' + e.message); }
}

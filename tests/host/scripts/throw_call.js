// Each native failure in a method call reaches the script as an Error.
const t = new Thrower();
for (const kind of ['runtime', 'std', 'other']) {
  try {
    t.call(kind);
    console.log(kind + ': no error');
  } catch (e) {
    console.log(kind + ': ' + (e instanceof Error) + ' ' + e.message);
  }
}

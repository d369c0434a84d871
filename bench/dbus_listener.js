// The script side of dbus_signal_bench: answers each home-screen signal with
// the installer signal, and ends on the text "stop".
const q = new QDUtil();
q.registerRecentChanged();
tarn.on('event', (code, args) => {
  if (args.json === 'stop') tarn.exit(0);
  q.sendMessageTRT();
});

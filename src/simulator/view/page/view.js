// The live view: one WebSocket to the server that serves this page. The
// server pushes the state and the journal as they change; the controls send
// commands back, which the server carries out as `tarn.sim` would.
import { drawState, drawJournal, drawLog } from './sections.js';

const kept = 2000;
let state = null;
let journal = [];
let log = [];
let skipped = 0;
let nextId = 1;
const waiting = new Map();
const connection = document.getElementById('connection');
const result = document.getElementById('control-result');
const socket = new WebSocket(`ws://${location.host}/events`);

socket.addEventListener('open', () => { connection.textContent = 'Live'; });
socket.addEventListener('close', () => {
  connection.textContent = 'Disconnected: the run has ended or the server is gone.';
});
socket.addEventListener('message', (event) => {
  const message = JSON.parse(event.data);
  if (message.type === 'hello') {
    enableControls(message);
  } else if (message.type === 'update') {
    if (message.state) {
      state = message.state;
      drawState(state, message.host, message.version);
      document.body.dataset.version = String(message.version);
    }
    if (message.journal.length) {
      journal = journal.concat(message.journal);
      if (journal.length > kept) journal = journal.slice(journal.length - kept);
    }
    skipped = message.skipped;
    drawJournal(journal, skipped);
    if (message.log.length) {
      log = log.concat(message.log);
      if (log.length > kept) log = log.slice(log.length - kept);
      drawLog(log);
    }
  } else if (message.type === 'reply') {
    const done = waiting.get(message.id);
    waiting.delete(message.id);
    if (done) done(message);
  }
});

function send(command) {
  return new Promise((resolve) => {
    const id = nextId++;
    waiting.set(id, resolve);
    socket.send(JSON.stringify({ ...command, id }));
  }).then((reply) => {
    result.textContent = reply.ok ? `Done: ${describe(command)}` : `Refused: ${reply.error}`;
    return reply;
  });
}

function describe(command) {
  if (command.command === 'fire') return `${command.event} ${JSON.stringify(command.arguments)}`;
  if (command.command === 'clock') {
    return `clock ${command.action}` + ('seconds' in command ? ` ${command.seconds} s` : '') +
      ('wallTime' in command ? ` to ${new Date(command.wallTime * 1000).toISOString()}` : '');
  }
  return `${command.command} ${command.path}${'value' in command ? ` = ${JSON.stringify(command.value)}` : ''}`;
}

const fire = (event, ...args) => send({ command: 'fire', event, arguments: args });
const set = (path, value) => send({ command: 'set', path, value });
const number = (id) => Number(document.getElementById(id).value);
const text = (id) => document.getElementById(id).value;
const clock = (how) => send({ command: 'clock', ...how });

const actions = {
  'power-key': () => fire('powerKey'),
  'wake-up': () => fire('wakeup', number('wakeup-reason')),
  'power-off': () => fire('powerOff', number('poweroff-reason')),
  'power-state': () => fire('powerState', number('power-state-value')),
  'mute-audio': () => set('av.audioMute', !(state && state.av.audioMute)),
  'mute-video': () => set('av.videoMute', !(state && state.av.videoMute)),
  'source-status': () => fire('sourceStatus', number('source-id'), number('source-status-value')),
  'bt-connect': () => fire('btConnection', text('bt-address'), true),
  'bt-disconnect': () => fire('btConnection', text('bt-address'), false),
  'bt-bond': () => fire('btBonded', { address: text('bt-address'), name: text('bt-name') }),
  'set-state': () => {
    let value;
    try {
      value = JSON.parse(text('state-value'));
    } catch {
      value = text('state-value');  // as --sim-set takes it: JSON, else text
    }
    return set(text('state-path'), value);
  },
  // The bridge's clocks (wall and monotonic): the server fixes them where
  // they stand, moves them on, sets the date, or gives them back to the PC.
  'clock-pause': () => clock({ action: 'pause' }),
  'clock-resume': () => clock({ action: 'resume' }),
  'clock-step': () => clock({ action: 'step', seconds: Math.trunc(number('clock-step-seconds')) }),
  'clock-set': () => {
    const when = Date.parse(text('clock-date'));
    if (Number.isNaN(when)) {
      result.textContent = 'Refused: choose a date first';
      return null;
    }
    return clock({ action: 'set', wallTime: Math.floor(when / 1000) });
  },
};

function enableControls(hello) {
  const off = document.getElementById('controls-off');
  if (!hello.controls) {
    off.hidden = false;
    off.textContent = hello.readOnly
      ? 'Read-only view: the set is shown, not steered.'
      : 'Controls are offered only on the page this server serves.';
    return;
  }
  document.getElementById('controls-on').hidden = false;
  document.querySelector('.clock-controls').hidden = false;
  for (const [id, action] of Object.entries(actions)) {
    document.getElementById(id).addEventListener('click', action);
  }
}

for (const id of ['journal-library', 'journal-operation']) {
  document.getElementById(id).addEventListener('input', () => drawJournal(journal, skipped));
}
document.getElementById('log-level').addEventListener('change', () => drawLog(log));

// Each section of the page drawn from the state the server pushes. Text goes
// in as text, never as markup: state values are the script's own.
export const powerStates = ['normal', 'picture off', 'standby', 'off'];

function el(tag, text, attributes = {}) {
  const node = document.createElement(tag);
  if (text !== undefined && text !== null) node.textContent = String(text);
  for (const [name, value] of Object.entries(attributes)) node.setAttribute(name, value);
  return node;
}

function list(pairs) {
  const dl = el('dl');
  for (const [term, value] of pairs) dl.append(el('dt', term), el('dd', value));
  return dl;
}

function table(caption, headings, rows) {
  const t = el('table');
  t.append(el('caption', caption));
  const head = el('tr');
  for (const h of headings) head.append(el('th', h, { scope: 'col' }));
  const thead = el('thead');
  thead.append(head);
  t.append(thead);
  const body = el('tbody');
  for (const row of rows) {
    const tr = el('tr');
    for (const cell of row) tr.append(el('td', cell));
    body.append(tr);
  }
  t.append(body);
  return t;
}

function fill(id, ...nodes) {
  document.querySelector(`#${id} .body`).replaceChildren(...nodes);
}

const yesNo = (b) => (b ? 'yes' : 'no');

function sourceName(state, id) {
  const source = (state.tv.sources || []).find((s) => s.id === id);
  return source ? `${source.name} (${id})` : String(id);
}

// What the screen shows, in words: the image's text alternative.
export function describeScreen(state) {
  const power = state.power.state;
  if (power === 2 || power === 3) return `The set is in ${powerStates[power]}: the screen is dark.`;
  if (power === 1 || !state.power.screenOn) return 'The picture is off: the screen is black.';
  const words = [];
  if (state.screenSaver.active) {
    words.push(`The screen saver${state.screenSaver.type ? ` (${state.screenSaver.type})` : ''} is on.`);
  } else if (state.av.videoMute) {
    words.push('The video is muted: the picture is black.');
  } else {
    const tv = state.tv;
    const channel = tv.channel && tv.channel.source === tv.currentSource ? `, ${tv.channel.name}` : '';
    words.push(`Showing ${sourceName(state, tv.currentSource)}${channel}.`);
    if (tv.subSource !== null) words.push(`Sub picture: ${sourceName(state, tv.subSource)}.`);
  }
  const apps = state.launcher.apps || [];
  if (!state.screenSaver.active && apps.length) words.push(`Launcher bar: ${apps.join(', ')}.`);
  if (state.av.audioMute) words.push('The sound is muted.');
  return words.join(' ');
}

function drawScreen(state, version) {
  const image = document.getElementById('screen-image');
  const text = describeScreen(state);
  image.alt = text;
  image.src = `screen.png?v=${version}`;
  document.getElementById('screen-text').textContent = text;
  const captions = document.getElementById('screen-captions');
  const power = state.power.state;
  const top = el('div');
  const middle = el('div', '', { class: 'big' });
  const bottom = el('div', '', { class: 'launcher' });
  if (power === 2 || power === 3) {
    middle.textContent = powerStates[power].toUpperCase();
  } else if (power === 1 || !state.power.screenOn) {
    middle.textContent = 'PICTURE OFF';
  } else {
    const tv = state.tv;
    top.textContent = sourceName(state, tv.currentSource) +
      (tv.channel && tv.channel.source === tv.currentSource ? ` · ${tv.channel.name}` : '');
    if (state.screenSaver.active) middle.textContent = 'SCREEN SAVER';
    else if (state.av.videoMute) middle.textContent = 'VIDEO MUTED';
    if (!state.screenSaver.active) for (const app of state.launcher.apps || []) bottom.append(el('span', app));
  }
  if (state.av.audioMute) top.textContent += '  🔇 MUTE';
  captions.replaceChildren(top, middle, bottom);
}

function drawPower(state, host) {
  const p = state.power;
  const subs = host.subscriptions || {};
  fill('power', list([
    ['State', `${powerStates[p.state] || 'unknown'} (${p.state})`],
    ['Screen on', yesNo(p.screenOn)],
    ['Wake-up reason', p.wakeupReason],
    ['Pre-power key', p.prePower],
    ['Power-key presses', p.powerKeyPressCount],
    ['Subscriptions', `pre-wake-up ${subs.preWakeup || 0}, wake-up ${subs.wakeup || 0}, ` +
      `power off ${subs.powerOff || 0}, power changed ${subs.stateChanged || 0}`],
  ]));
}

function drawSources(state) {
  const tv = state.tv;
  fill('sources',
    list([
      ['Current source', sourceName(state, tv.currentSource)],
      ['Sub source', tv.subSource === null ? 'none' : sourceName(state, tv.subSource)],
      ['TV mode', tv.tvMode],
      ['Channel', `${tv.channel.name} (on ${sourceName(state, tv.channel.source)})`],
    ]),
    table('Sources', ['Id', 'Name', 'Status'],
      tv.sources.map((s) => [s.id, s.name, s.status ? 'connected' : 'disconnected'])),
    table('External-box activities', ['Mode', 'Source', 'Name'],
      (state.externalBox.activities || []).map((a) => [a.mode, a.source, a.name])));
}

function drawAudioVideo(state, host) {
  const hints = host.stageHints || [];
  fill('audio-video', list([
    ['Audio muted', yesNo(state.av.audioMute)],
    ['Video muted', yesNo(state.av.videoMute)],
    ['Screen saver', state.screenSaver.active ? `active (${state.screenSaver.type || 'default'})` : 'inactive'],
    ['Welcome mode', state.av.welcomeMode],
    ['Window language', state.window.language === null ? 'not set' : state.window.language],
    ['Stage hints', hints.map(([hint, value]) => `${hint}=${value}`).join(', ') || 'none'],
  ]));
  document.getElementById('mute-audio').setAttribute('aria-pressed', String(!!state.av.audioMute));
  document.getElementById('mute-video').setAttribute('aria-pressed', String(!!state.av.videoMute));
}

function drawApps(state) {
  fill('apps',
    table('Running apps', ['App', 'Package', 'Process', 'Status'],
      (state.aul.running || []).map((a) => [a.appId, a.package, a.pid, a.status])),
    table('Installed apps', ['Data folder', 'Version'],
      (state.installedApps || []).map((a) => [a.dataDir, a.version === null ? '—' : a.version])),
    list([['Launcher', (state.launcher.apps || []).join(', ') || 'empty']]),
    table('Recent apps', ['App', 'Package', 'Launched'],
      (state.rua.history || []).map((h) => [h.appId, h.package,
        new Date(h.launchTime * 1000).toISOString()])));
}

function drawBluetooth(state) {
  const id = (v) => (v === null || v === undefined ? '—' : `0x${Number(v).toString(16).padStart(4, '0')}`);
  fill('bluetooth', table('Devices', ['Address', 'Name', 'Bonded', 'Connected', 'Vendor', 'Product'],
    (state.bluetooth.devices || []).map((d) =>
      [d.address, d.name, yesNo(d.bonded), yesNo(d.connected), id(d.vid), id(d.pid)])));
}

function drawClock(state) {
  const c = state.clock;
  const wall = c.wallTime === null ? `the PC's clock (${new Date().toISOString()})`
    : `fixed at ${c.wallTime} (${new Date(c.wallTime * 1000).toISOString()})`;
  const mono = c.monotonic === null ? "the PC's clock" : `fixed at ${c.monotonic.sec}.${String(c.monotonic.nsec).padStart(9, '0')} s`;
  fill('clock', list([
    ['Wall time', wall],
    ['Monotonic', mono],
    ['Failing calls', (c.failing || []).join(', ') || 'none'],
    ['Last set by the bridge', c.lastSet === null ? 'never' : JSON.stringify(c.lastSet)],
  ]));
}

export function drawState(state, host, version) {
  drawScreen(state, version);
  drawPower(state, host);
  drawSources(state);
  drawAudioVideo(state, host);
  drawApps(state);
  drawBluetooth(state);
  drawClock(state);
}

export function drawJournal(entries, skipped) {
  const library = document.getElementById('journal-library').value.trim().toLowerCase();
  const operation = document.getElementById('journal-operation').value.trim().toLowerCase();
  const rows = [];
  for (let i = entries.length - 1; i >= 0 && rows.length < 200; --i) {
    const e = entries[i];
    if (library && !e.library.toLowerCase().includes(library)) continue;
    if (operation && !e.operation.toLowerCase().includes(operation)) continue;
    const tr = el('tr', null, e.library === 'view' ? { class: 'from-view' } : {});
    tr.append(el('td', e.seq), el('td', e.library), el('td', e.operation),
      el('td', JSON.stringify(e.arguments), { class: 'args' }),
      el('td', JSON.stringify(e.result) + (e.forced ? ' (forced)' : '')),
      el('td', e.thread + (e.simulatorThread ? ' (simulator)' : '')));
    rows.push(tr);
  }
  document.getElementById('journal-rows').replaceChildren(...rows);
  document.getElementById('journal-skipped').textContent =
    skipped ? `${skipped} entries skipped (more than the page could take)` : '';
}

const levels = ['error', 'warning', 'info', 'debug', 'trace'];

export function drawLog(lines) {
  const level = Number(document.getElementById('log-level').value);
  const rows = [];
  for (let i = lines.length - 1; i >= 0 && rows.length < 200; --i) {
    const l = lines[i];
    if (l.level > level) continue;
    const tr = el('tr');
    tr.append(el('td', l.seq), el('td', levels[l.level] || l.level), el('td', l.logger),
      el('td', l.text, { class: 'args' }), el('td', l.thread));
    rows.push(tr);
  }
  document.getElementById('log-rows').replaceChildren(...rows);
}

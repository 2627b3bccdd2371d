// The browser side of Live Console: sign in, list the account's computers and their
// ports, watch one port's traffic over /ws/console/v1, and queue commands (send text
// or hex, open, close). Plain script, no build step; it talks to this server only.
'use strict';

const $ = (id) => document.getElementById(id);
const state = { token: sessionStorage.getItem('vlmToken') || '', devices: [], cid: '', portKey: '',
                socket: null, requests: 0, lines: 0 };
const kMaxLines = 2000;

function setStatus(text) { $('status').textContent = text; }

async function api(method, path, body) {
  const options = { method, headers: { 'Authorization': 'Bearer ' + state.token } };
  if (body !== undefined) {
    options.headers['Content-Type'] = 'application/json';
    options.body = JSON.stringify(body);
  }
  const reply = await fetch('/api/v3' + path, options);
  const json = await reply.json().catch(() => ({ status: false, description: 'The server sent no JSON.' }));
  if (reply.status === 401) signOut('Your sign-in ended; sign in again.');
  return json;
}

async function signIn(event) {
  event.preventDefault();
  $('signinError').textContent = '';
  $('signinButton').disabled = true;
  try {
    const reply = await fetch('/api/v3/account/login', {
      method: 'POST', headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify({ email: $('email').value, password: $('password').value }) });
    const json = await reply.json();
    if (!json.status) { $('signinError').textContent = json.description || 'Sign-in failed.'; return; }
    state.token = json.access_token;
    sessionStorage.setItem('vlmToken', state.token);
    $('password').value = '';
    $('who').textContent = json.user ? json.user.email : '';
    start();
  } catch (error) {
    $('signinError').textContent = 'The server could not be reached.';
  } finally {
    $('signinButton').disabled = false;
  }
}

function signOut(text) {
  state.token = '';
  sessionStorage.removeItem('vlmToken');
  if (state.socket) state.socket.close();
  state.socket = null;
  $('workspace').hidden = true;
  $('signout').hidden = true;
  $('signin').hidden = false;
  $('who').textContent = '';
  setStatus(text || 'Not signed in.');
}

function start() {
  $('signin').hidden = true;
  $('workspace').hidden = false;
  $('signout').hidden = false;
  connect();
  loadDevices();
}

async function loadDevices() {
  const json = await api('GET', '/console/devices');
  if (!json.status) { setStatus(json.description || 'Could not load the computers.'); return; }
  state.devices = json.devices || [];
  renderDevices();
  setStatus('Computers: ' + state.devices.length + '.');
}

function portName(port) { return port.display_name || port.name || port.port_key; }

function renderDevices() {
  const list = $('devices');
  list.replaceChildren();
  if (state.devices.length === 0) {
    const empty = document.createElement('li');
    empty.textContent = 'No computer is bound to this account yet.';
    list.append(empty);
  }
  for (const device of state.devices) {
    const item = document.createElement('li');
    const title = document.createElement('div');
    title.className = 'device';
    title.textContent = device.device_name;
    const online = document.createElement('span');
    online.className = device.online ? '' : 'offline';
    online.textContent = device.online ? '' : ' (offline)';
    title.append(online);
    const ports = document.createElement('ul');
    for (const port of device.ports || []) {
      const entry = document.createElement('li');
      const button = document.createElement('button');
      button.className = 'port' + (device.cid === state.cid && port.port_key === state.portKey ? ' chosen' : '');
      button.dataset.cid = device.cid;
      button.dataset.portKey = port.port_key;
      button.textContent = portName(port) + (port.is_open === false ? ' (closed)' : '');
      button.addEventListener('click', () => choosePort(device.cid, port.port_key));
      entry.append(button);
      ports.append(entry);
    }
    item.append(title, ports);
    list.append(item);
  }
}

function chosenPort() {
  const device = state.devices.find((d) => d.cid === state.cid);
  return device ? (device.ports || []).find((p) => p.port_key === state.portKey) : undefined;
}

function choosePort(cid, portKey) {
  state.cid = cid;
  state.portKey = portKey;
  $('traffic').replaceChildren();
  state.lines = 0;
  renderDevices();
  renderPort();
  watch();
}

function renderPort() {
  const port = chosenPort();
  const chosen = port !== undefined;
  $('portTitle').textContent = chosen ? portName(port) : 'Choose a port';
  $('portState').textContent = chosen && port.is_open !== undefined ? (port.is_open ? 'open' : 'closed') : '';
  for (const id of ['openPort', 'closePort', 'send', 'sendText']) $(id).disabled = !chosen;
}

function connect() {
  const scheme = location.protocol === 'https:' ? 'wss:' : 'ws:';
  const socket = new WebSocket(scheme + '//' + location.host + '/ws/console/v1');
  state.socket = socket;
  socket.addEventListener('open', () => {
    socket.send(JSON.stringify({ type: 'hello', role: 'viewer', access_token: state.token }));
  });
  socket.addEventListener('message', (event) => onFrame(JSON.parse(event.data)));
  socket.addEventListener('close', () => {
    if (state.socket !== socket || !state.token) return;
    setStatus('Connection lost; reconnecting…');
    setTimeout(() => { if (state.token) connect(); }, 2000);
  });
}

function watch() {
  if (state.socket && state.socket.readyState === WebSocket.OPEN && state.cid)
    state.socket.send(JSON.stringify({ type: 'watch', cid: state.cid, port_key: state.portKey }));
}

function onFrame(frame) {
  switch (frame.type) {
  case 'hello':
    if (!frame.status) { signOut(frame.description); return; }
    setStatus('Connected.');
    watch();
    break;
  case 'watch':
    setStatus(frame.status ? 'Watching ' + (frame.port_key || 'all ports') + '.' : frame.description);
    break;
  case 'events':
    for (const event of frame.events) {
      if (frame.cid === state.cid && (!state.portKey || event.port_key === state.portKey))
        addLine(event.event_type, event.payload_text);
    }
    break;
  case 'snapshot': {
    const device = state.devices.find((d) => d.cid === frame.cid);
    if (device) { device.ports = frame.ports; device.online = frame.online; renderDevices(); renderPort(); }
    break;
  }
  case 'command':
    setStatus(frame.status ? 'Sent to the computer.' : (frame.description || 'Refused.'));
    break;
  case 'result': {
    const command = frame.command;
    if (command.state === 'failed') addLine('note', command.command + ' failed: ' + (command.message || command.error_code));
    else addLine('note', command.command + ' done.');
    break;
  }
  }
}

function addLine(kind, text) {
  const view = $('traffic');
  const atEnd = view.scrollTop + view.clientHeight >= view.scrollHeight - 4;
  const line = document.createElement('div');
  line.className = kind === 'rx' || kind === 'tx' ? kind : 'note';
  const time = document.createElement('span');
  time.className = 'time';
  time.textContent = new Date().toLocaleTimeString() + (kind === 'rx' ? ' ← ' : kind === 'tx' ? ' → ' : ' · ');
  line.append(time, document.createTextNode(text));
  view.append(line);
  if (++state.lines > kMaxLines) { view.firstChild.remove(); --state.lines; }
  if (atEnd) view.scrollTop = view.scrollHeight;
}

function command(name, payload) {
  if (!state.socket || state.socket.readyState !== WebSocket.OPEN) { setStatus('Not connected.'); return; }
  state.socket.send(JSON.stringify({ type: 'command', cid: state.cid, port_key: state.portKey,
                                     command: name, payload: payload || {}, request_id: ++state.requests }));
}

function send(event) {
  event.preventDefault();
  const text = $('sendText').value;
  if (text === '') return;
  if ($('sendMode').value === 'hex') {
    if (!/^([0-9a-fA-F]{2}\s*)+$/.test(text.trim())) { setStatus('Hex is pairs of digits 0-9 and A-F.'); return; }
    command('send_hex', { hex: text.trim() });
  } else {
    command('send_text', { text, line_ending: $('lineEnding').value });
  }
  $('sendText').value = '';
}

$('signin').addEventListener('submit', signIn);
$('signout').addEventListener('click', () => signOut());
$('refresh').addEventListener('click', loadDevices);
$('sendForm').addEventListener('submit', send);
$('openPort').addEventListener('click', () => command('open_port'));
$('closePort').addEventListener('click', () => command('close_port'));
$('clearView').addEventListener('click', () => { $('traffic').replaceChildren(); state.lines = 0; });
$('sendMode').addEventListener('change', () => { $('lineEnding').disabled = $('sendMode').value === 'hex'; });
if (state.token) start();

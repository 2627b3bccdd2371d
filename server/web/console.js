// The browser side of Live Console: sign in, list the account's computers and their
// ports, watch one port's traffic over /ws/console/v1, and queue commands (send text
// or hex, open, close). A guest joins with an invite code instead and sees the one
// port of the invite, with the controls its level allows. Plain script, no build
// step; it talks to this server only.
'use strict';

const $ = (id) => document.getElementById(id);
const state = { token: sessionStorage.getItem('vlmToken') || '', devices: [], cid: '', portKey: '',
                socket: null, requests: 0, lines: 0,
                guest: JSON.parse(sessionStorage.getItem('vlmGuest') || 'null'), ended: false };
const kCodeAlphabet = /^[0-9A-HJKMNP-TV-Z]{12}$/;
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
  state.guest = null;
  sessionStorage.removeItem('vlmToken');
  sessionStorage.removeItem('vlmGuest');
  if (state.socket) state.socket.close();
  state.socket = null;
  $('workspace').hidden = true;
  $('workspace').classList.remove('guest');
  $('deviceList').hidden = false;
  $('signout').hidden = true;
  $('signout').textContent = 'Sign out';
  $('signin').hidden = false;
  $('join').hidden = true;
  $('who').textContent = '';
  setStatus(text || 'Not signed in.');
}

function start() {
  $('signin').hidden = true;
  $('join').hidden = true;
  $('workspace').hidden = false;
  $('signout').hidden = false;
  connect();
  loadDevices();
}

// The bare code of an invite: typed in any case, with dashes or blanks, or pasted as
// the whole link; '' when it is no code.
function inviteCode(text) {
  const cut = Math.max(text.lastIndexOf('/'), text.lastIndexOf('='), text.lastIndexOf('#'));
  const code = text.slice(cut + 1).toUpperCase().replace(/[-\s]/g, '');
  return kCodeAlphabet.test(code) ? code : '';
}

function showJoin(code) {
  $('signin').hidden = true;
  $('join').hidden = false;
  if (code !== undefined) $('joinCode').value = code;
  peek();
}

async function peek() {
  const code = inviteCode($('joinCode').value);
  $('joinError').textContent = '';
  $('joinInfo').textContent = code ? 'Checking the code…' : '';
  if (!code) return;
  const reply = await fetch('/api/v3/relay/join/' + code).catch(() => null);
  const json = reply ? await reply.json().catch(() => ({})) : {};
  if (code !== inviteCode($('joinCode').value)) return;
  if (!json.status) {
    $('joinInfo').textContent = json.code === 'rate_limited' ? 'Too many tries. Wait a minute.'
                                                             : 'That code is not valid or has expired.';
    return;
  }
  const name = json.label || json.port_name;
  $('passcodeRow').hidden = !json.passcode_required;
  $('joinInfo').textContent = json.web === 'none' ? name + ' — this invite is for Velmora, not a browser.'
                            : !json.online ? name + ' — the host is offline right now.'
                            : name + ' — ready.';
}

async function join(event) {
  event.preventDefault();
  const code = inviteCode($('joinCode').value);
  if (!code) { $('joinError').textContent = 'That does not look like an invite code.'; return; }
  $('joinError').textContent = '';
  $('joinButton').disabled = true;
  try {
    const reply = await fetch('/api/v3/relay/join', {
      method: 'POST', headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify({ code, passcode: $('joinPasscode').value, guest_name: $('guestName').value.trim(),
                             route: 'web' }) });
    const json = await reply.json();
    if (!json.status) { $('joinError').textContent = json.description || 'Could not join.'; return; }
    $('joinPasscode').value = '';
    state.guest = { token: json.guest_token, cid: json.cid, port_key: json.port_key, port_name: json.port_name,
                    label: json.label, web: json.web, expires_at: json.expires_at };
    sessionStorage.setItem('vlmGuest', JSON.stringify(state.guest));
    startGuest();
  } catch (error) {
    $('joinError').textContent = 'The server could not be reached.';
  } finally {
    $('joinButton').disabled = false;
  }
}

function startGuest() {
  const guest = state.guest;
  state.ended = false;
  state.cid = guest.cid;
  state.portKey = guest.port_key;
  state.devices = [{ cid: guest.cid, ports: [{ port_key: guest.port_key, display_name: guest.port_name }] }];
  if (location.hash) history.replaceState(null, '', location.pathname);
  $('signin').hidden = true;
  $('join').hidden = true;
  $('deviceList').hidden = true;
  $('workspace').classList.add('guest');
  $('workspace').hidden = false;
  $('signout').textContent = 'Leave';
  $('signout').hidden = false;
  const levels = { view: 'view only', send: 'view and send', control: 'view, send and port control' };
  $('who').textContent = (guest.label || guest.port_name) + ' · ' + (levels[guest.web] || guest.web);
  renderPort();
  connect();
}

// What a guest may touch follows the invite's level: watching only, sending, or the
// port's control as well. The server refuses the rest whatever the page shows.
function applyGuestLevel() {
  const level = state.guest ? state.guest.web : 'control';
  $('sendForm').hidden = level === 'view';
  for (const id of ['openPort', 'closePort']) $(id).hidden = level !== 'control';
}

function endGuest(text) {
  state.ended = true;
  sessionStorage.removeItem('vlmGuest');
  for (const id of ['openPort', 'closePort', 'send', 'sendText']) $(id).disabled = true;
  addLine('note', text);
  setStatus(text);
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
  for (const id of ['openPort', 'closePort', 'send', 'sendText']) $(id).disabled = !chosen || state.ended;
  applyGuestLevel();
}

function connect() {
  const scheme = location.protocol === 'https:' ? 'wss:' : 'ws:';
  const socket = new WebSocket(scheme + '//' + location.host + '/ws/console/v1');
  state.socket = socket;
  socket.addEventListener('open', () => {
    socket.send(JSON.stringify(state.guest ? { type: 'hello', role: 'guest', guest_token: state.guest.token }
                                           : { type: 'hello', role: 'viewer', access_token: state.token }));
  });
  socket.addEventListener('message', (event) => onFrame(JSON.parse(event.data)));
  const wanted = () => state.socket === socket && (state.token || (state.guest && !state.ended));
  socket.addEventListener('close', () => {
    if (!wanted()) return;
    setStatus('Connection lost; reconnecting…');
    setTimeout(() => { if (wanted()) connect(); }, 2000);
  });
}

function watch() {
  if (state.socket && state.socket.readyState === WebSocket.OPEN && state.cid)
    state.socket.send(JSON.stringify({ type: 'watch', cid: state.cid, port_key: state.portKey }));
}

function onFrame(frame) {
  switch (frame.type) {
  case 'hello':
    if (!frame.status && state.guest) { endGuest(frame.description || 'The invite is no longer valid.'); return; }
    if (!frame.status) { signOut(frame.description); return; }
    setStatus('Connected.');
    if (!state.guest) watch();
    break;
  case 'share_ended':
    endGuest(frame.description || 'The share ended.');
    break;
  case 'watch':
    setStatus(frame.status ? 'Watching ' + (frame.port_key || 'all ports') + '.' : frame.description);
    if (state.guest && frame.status && frame.device) { state.devices = [frame.device]; renderPort(); }
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
$('join').addEventListener('submit', join);
$('joinCode').addEventListener('input', peek);
$('showJoin').addEventListener('click', () => showJoin());
$('showSignin').addEventListener('click', () => signOut());
$('signout').addEventListener('click', () => signOut());
$('refresh').addEventListener('click', loadDevices);
$('sendForm').addEventListener('submit', send);
$('openPort').addEventListener('click', () => command('open_port'));
$('closePort').addEventListener('click', () => command('close_port'));
$('clearView').addEventListener('click', () => { $('traffic').replaceChildren(); state.lines = 0; });
$('sendMode').addEventListener('change', () => { $('lineEnding').disabled = $('sendMode').value === 'hex'; });
if (location.hash.startsWith('#join=')) showJoin(decodeURIComponent(location.hash.slice(6)));
else if (state.guest) startGuest();
else if (state.token) start();

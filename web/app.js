// twhost's page: lists the plug-ins (RETRIEVE_PLUGINS), offers a form for
// every signature and runs it as a report (EXECUTE_REPORT). Messages go to
// POST /messages in their XML wire form; reports come from /reports/.
'use strict';

// Value types by number, as the library writes them in "Type".
const TYPES = {
  0: 'NONE', 20000: 'INT', 20001: 'STRING', 20002: 'DOUBLE', 20003: 'PDU', 20004: 'SNMPVAR',
  20005: 'XML', 20006: 'ARRAY', 20007: 'ARRAY_ELEM', 20008: 'TIME', 20009: 'BYTE', 20010: 'CHAR',
};
const T = Object.fromEntries(Object.entries(TYPES).map(([number, name]) => [name, Number(number)]));

const $ = (id) => document.getElementById(id);

function element(tag, attributes = {}, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name === 'class') node.className = value;
    else if (name === 'text') node.textContent = value;
    else node.setAttribute(name, value);
  }
  node.append(...children);
  return node;
}

function childElements(node, tag) {
  return Array.from(node ? node.children : []).filter((child) => !tag || child.tagName === tag);
}

// ---------------------------------------------------------------------------
// Messages: the envelope of the wire form, and the one request route.
// ---------------------------------------------------------------------------

// A message document: <MESSAGE Type="..."> around the body element that build() makes.
function newMessage(type, bodyTag, build) {
  const doc = document.implementation.createDocument(null, 'MESSAGE', null);
  doc.documentElement.setAttribute('Type', type);
  const body = doc.createElement(bodyTag);
  build(doc, body);
  doc.documentElement.appendChild(body);
  return doc;
}

// Sends a message; gives {type, body} of the answer or throws an Error with the host's reason.
async function send(doc) {
  const response = await fetch('messages', {
    method: 'POST',
    headers: { 'Content-Type': 'application/xml; charset=utf-8' },
    body: new XMLSerializer().serializeToString(doc),
  });
  const text = await response.text();
  if (!response.ok) throw new Error(`${response.status} ${response.statusText}: ${text.trim()}`);
  const answer = new DOMParser().parseFromString(text, 'application/xml');
  const root = answer.documentElement;
  if (!root || root.getElementsByTagName('parsererror').length > 0) throw new Error('The host answered no XML.');
  return { type: root.getAttribute('Type') || '', body: childElements(root)[0] || null };
}

// ---------------------------------------------------------------------------
// Values: a form's entries in the XML form of values.
// ---------------------------------------------------------------------------

function variable(doc, name, type, value) {
  const node = doc.createElement('VARIABLE');
  node.setAttribute('Name', name);
  node.setAttribute('Type', String(type));
  node.setAttribute('DisplayName', '');
  node.setAttribute('Description', '');
  if (value !== undefined) node.setAttribute('Value', String(value));
  return node;
}

// A JSON value as a VARIABLE: objects and arrays become ARRAY values (member
// names or "0", "1", ... as indexes), whole numbers INT, other numbers DOUBLE,
// true and false INT, null a value without type.
function jsonVariable(doc, name, value, depth = 0) {
  if (depth > 64) throw new Error('nested too deeply (64 levels at most)');
  if (value === null) return variable(doc, name, 0);
  if (typeof value === 'boolean') return variable(doc, name, T.INT, value ? 1 : 0);
  if (typeof value === 'number') return variable(doc, name, Number.isInteger(value) ? T.INT : T.DOUBLE, value);
  if (typeof value === 'string') return variable(doc, name, T.STRING, value);
  const node = variable(doc, name, T.ARRAY);
  const array = doc.createElement('ARRAY');
  const entries = Array.isArray(value) ? value.map((item, i) => [String(i), item]) : Object.entries(value);
  for (const [index, item] of entries) {
    const child = jsonVariable(doc, '', item, depth + 1);
    child.setAttribute('Index', index);
    array.appendChild(child);
  }
  node.appendChild(array);
  return node;
}

// One parameter's VARIABLE from its input; throws an Error that names the problem.
function parameterVariable(doc, parameter, input) {
  const text = input.value;
  const { name, type } = parameter;
  const whole = (low, high) => {
    if (!/^[+-]?\d+$/.test(text.trim())) throw new Error(`${name}: a whole number is needed`);
    const number = BigInt(text.trim());
    if (number < low || number > high) throw new Error(`${name}: ${low} to ${high}`);
    return number.toString();
  };
  switch (type) {
    case T.INT: return variable(doc, name, type, whole(-(2n ** 63n), 2n ** 63n - 1n));
    case T.BYTE: return variable(doc, name, type, whole(0n, 255n));
    case T.STRING: return variable(doc, name, type, text);
    case T.CHAR:
      if (text.length !== 1) throw new Error(`${name}: exactly one character is needed`);
      return variable(doc, name, type, text.charCodeAt(0));
    case T.DOUBLE: {
      const number = Number(text);
      if (text.trim() === '' || !Number.isFinite(number)) throw new Error(`${name}: a number is needed`);
      return variable(doc, name, type, number);
    }
    case T.TIME: {
      const millis = Date.parse(text);
      if (Number.isNaN(millis)) throw new Error(`${name}: a date and time is needed`);
      return variable(doc, name, type, Math.floor(millis / 1000));
    }
    case T.ARRAY: {
      let value;
      try {
        value = JSON.parse(text || '[]');
      } catch (e) {
        throw new Error(`${name}: no JSON (${e.message})`);
      }
      if (value === null || typeof value !== 'object') throw new Error(`${name}: a JSON array or object is needed`);
      return jsonVariable(doc, name, value);
    }
    case T.XML: {
      const node = variable(doc, name, type);
      const parsed = new DOMParser().parseFromString(text, 'application/xml');
      if (parsed.getElementsByTagName('parsererror').length > 0) throw new Error(`${name}: no well-formed XML`);
      node.appendChild(doc.importNode(parsed.documentElement, true));
      return node;
    }
    default:
      throw new Error(`${name}: a ${TYPES[type] || type} value can't be entered here`);
  }
}

// The input for one parameter, by its type.
function parameterInput(parameter, id) {
  const common = { id, name: parameter.name || id };
  switch (parameter.type) {
    case T.INT: return element('input', { ...common, type: 'text', inputmode: 'numeric', placeholder: '0' });
    case T.BYTE: return element('input', { ...common, type: 'number', min: '0', max: '255', step: '1', placeholder: '0' });
    case T.DOUBLE: return element('input', { ...common, type: 'number', step: 'any', placeholder: '0.0' });
    case T.CHAR: return element('input', { ...common, type: 'text', maxlength: '1', placeholder: 'one character' });
    case T.TIME: return element('input', { ...common, type: 'datetime-local', step: '1' });
    case T.ARRAY: return element('textarea', { ...common, rows: '4', spellcheck: 'false', placeholder: '[{"Name": "eth0", "RxBytes": 1200}, {"Name": "lo", "RxBytes": 800}]' });
    case T.XML: return element('textarea', { ...common, rows: '3', spellcheck: 'false', placeholder: '<element attribute="value"/>' });
    case T.STRING: return element('input', { ...common, type: 'text' });
    default: return element('input', { ...common, type: 'text', disabled: '', placeholder: 'not entered here' });
  }
}

// ---------------------------------------------------------------------------
// The listing
// ---------------------------------------------------------------------------

function readVariableMetaInfo(node) {
  return {
    name: node ? node.getAttribute('Name') || '' : '',
    description: node ? node.getAttribute('Description') || '' : '',
    type: node ? Number(node.getAttribute('Type') || 0) : 0,
  };
}

function readPlugins(body) {
  return childElements(body, 'PLUGIN').map((plugin) => {
    const info = childElements(plugin, 'ModuleMetaInfo')[0];
    const functions = childElements(childElements(info, 'FUNCTIONS')[0], 'FUNCTION').map((fn) => ({
      name: fn.getAttribute('Name') || '',
      signatures: childElements(fn, 'FunctionSignature').map((signature) => ({
        description: signature.getAttribute('Description') || '',
        result: readVariableMetaInfo(childElements(signature, 'VariableMetaInfo')[0]),
        parameters: childElements(childElements(signature, 'Parameters')[0], 'VariableMetaInfo').map(readVariableMetaInfo),
      })),
    }));
    return {
      file: plugin.getAttribute('Name') || '',
      status: plugin.getAttribute('Status') || '',
      reason: plugin.getAttribute('Reason') || '',
      module: info ? info.getAttribute('Name') || '' : '',
      version: info ? info.getAttribute('Version') || '' : '',
      description: info ? info.getAttribute('Description') || '' : '',
      functions: functions.sort((a, b) => a.name.localeCompare(b.name)),
    };
  }).sort((a, b) => a.file.localeCompare(b.file));
}

function signatureText(name, signature) {
  const parameters = signature.parameters.map((p) => `${TYPES[p.type] || p.type} ${p.name}`.trim()).join(', ');
  return `${name}(${parameters}) → ${TYPES[signature.result.type] || signature.result.type}`;
}

let formCount = 0;

function renderSignature(plugin, fn, signature) {
  // A function that gives text makes a report; any other is called for its value.
  const makesReport = signature.result.type === T.STRING;
  const details = element('details', { class: 'signature' },
    element('summary', {},
      element('span', { class: 'sig-text', text: signatureText(fn.name, signature) }),
      element('span', { class: `kind ${makesReport ? 'kind-report' : 'kind-value'}`, text: makesReport ? 'report' : 'value' }),
      element('span', { class: 'sig-desc', text: signature.description })));
  const form = element('form', { class: 'run', 'data-plugin': plugin.file, 'data-function': fn.name });
  const inputs = signature.parameters.map((parameter, i) => {
    const id = `p${++formCount}-${i}`;
    const input = parameterInput(parameter, id);
    form.append(element('div', { class: 'field' },
      element('label', { for: id }, parameter.name || `#${i + 1}`, element('span', { class: 'type', text: TYPES[parameter.type] || String(parameter.type) })),
      input,
      parameter.description ? element('span', { class: 'help', text: parameter.description }) : ''));
    return input;
  });
  if (inputs.length === 0) form.append(element('p', { class: 'no-params', text: 'No parameters.' }));
  const error = element('span', { class: 'form-error', role: 'alert' });
  const run = element('button', { type: 'submit', text: makesReport ? 'Run' : 'Call' });
  form.append(element('div', { class: 'actions' }, run, error));
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    error.textContent = '';
    let message;
    try {
      message = newMessage(makesReport ? 'EXECUTE_REPORT' : 'CALL_FUNCTION', makesReport ? 'REPORT' : 'CALL', (doc, body) => {
        body.setAttribute('Plugin', plugin.file);
        body.setAttribute(makesReport ? 'Report' : 'Function', fn.name);
        const list = doc.createElement('VARIABLE_LIST');
        signature.parameters.forEach((parameter, i) => list.appendChild(parameterVariable(doc, parameter, inputs[i])));
        body.appendChild(list);
      });
    } catch (e) {
      error.textContent = e.message;
      return;
    }
    run.disabled = true;
    try {
      const title = `${fn.name} of ${plugin.module || plugin.file}`;
      await (makesReport ? runReport(title, message) : runCall(title, message));
    } finally {
      run.disabled = false;
    }
  });
  details.append(form);
  return details;
}

function renderPlugin(plugin) {
  const card = $('plugin-template').content.firstElementChild.cloneNode(true);
  card.dataset.plugin = plugin.file;
  card.querySelector('.plugin-name').textContent = plugin.file;
  const badge = card.querySelector('.status');
  badge.textContent = plugin.status || 'unknown';
  badge.classList.add(plugin.status === 'loaded' ? 'ok' : 'bad');
  // Why a module failed to load, as the host found it.
  if (plugin.reason) card.querySelector('.plugin-head').after(element('p', { class: 'reason', text: plugin.reason }));
  card.querySelector('.module').textContent = plugin.module || '—';
  card.querySelector('.version').textContent = plugin.version || '—';
  card.querySelector('.description').textContent = plugin.description;
  const functions = card.querySelector('.functions');
  if (plugin.functions.length === 0) functions.append(element('p', { class: 'muted', text: 'No functions.' }));
  for (const fn of plugin.functions) {
    const section = element('section', { class: 'function', 'data-function': fn.name }, element('h4', { text: fn.name }));
    for (const signature of fn.signatures) section.append(renderSignature(plugin, fn, signature));
    functions.append(section);
  }
  return card;
}

async function loadPlugins() {
  const status = $('plugins-status');
  const list = $('plugins');
  status.textContent = 'Asking the host for its plug-ins…';
  status.classList.remove('hidden');
  list.replaceChildren();
  try {
    const answer = await send(newMessage('RETRIEVE_PLUGINS', 'PLUGINS', () => {}));
    if (answer.type !== 'RETRIEVE_PLUGINS_RESPONSE') throw new Error(`Unexpected answer ${answer.type}`);
    const plugins = readPlugins(answer.body);
    list.append(...plugins.map(renderPlugin));
    status.textContent = plugins.length === 0 ? 'The plug-in directory holds no module.' : '';
    status.classList.toggle('hidden', plugins.length > 0);
  } catch (e) {
    status.textContent = `The plug-ins could not be listed: ${e.message}`;
  }
}

// ---------------------------------------------------------------------------
// Reports
// ---------------------------------------------------------------------------

// On a narrow screen the report stands below the plug-ins: bring it into view
// when a run starts and ends, so that the outcome isn't out of sight.
function bringReportIntoView() {
  const box = $('report-heading').getBoundingClientRect();
  const end = $('report-status').getBoundingClientRect();
  if (box.top < 0 || end.bottom > window.innerHeight) {
    $('report-heading').scrollIntoView({ block: 'start', behavior: 'smooth' });
  }
}

function showReport(state, text, url) {
  const status = $('report-status');
  status.textContent = text;
  status.className = state;
  const frame = $('report-frame');
  const link = $('report-link');
  frame.classList.toggle('hidden', !url);
  link.classList.toggle('hidden', !url);
  $('value-view').classList.add('hidden');
  if (url) {
    frame.src = url;
    link.href = url;
  } else {
    frame.removeAttribute('src');
  }
  bringReportIntoView();
}

// Sends a report's or a call's message and shows the outcome: onSuccess gets
// the answer's body when its Status is 0, the reason shows otherwise.
async function runMessage(title, message, verb, responseType, onSuccess) {
  showReport('muted', `${verb} ${title}…`);
  try {
    const answer = await send(message);
    const body = answer.body;
    if (answer.type !== responseType || !body) throw new Error(`Unexpected answer ${answer.type}`);
    if (body.getAttribute('Status') !== '0') {
      showReport('failed', `${title} failed: ${body.getAttribute('Reason') || 'no reason given'}`);
      return;
    }
    onSuccess(body);
  } catch (e) {
    showReport('failed', `${title} failed: ${e.message}`);
  }
}

function runReport(title, message) {
  return runMessage(title, message, 'Running', 'EXECUTE_REPORT_RESPONSE', (report) => {
    const url = report.getAttribute('URL') || '';
    showReport('ok', `${title}: ${url.split('/').pop()}`, url);
  });
}

// ---------------------------------------------------------------------------
// Values: what a function returns, as a table when it is an array of rows.
// ---------------------------------------------------------------------------

// The rows of a value that is an array (or object) of objects, each row with
// its key first; null for any other value.
function rowsOf(value) {
  if (value === null || typeof value !== 'object') return null;
  const entries = Array.isArray(value) ? value.map((row, i) => [String(i), row]) : Object.entries(value);
  if (entries.length === 0 || !entries.every(([, row]) => row !== null && typeof row === 'object' && !Array.isArray(row))) return null;
  const columns = [];
  for (const [, row] of entries) for (const column of Object.keys(row)) if (!columns.includes(column)) columns.push(column);
  return { columns, entries };
}

function cellText(value) {
  return value !== null && typeof value === 'object' ? JSON.stringify(value) : String(value ?? '');
}

function showValue(title, json, text) {
  showReport('ok', `${title} returned:`);
  const view = $('value-view');
  view.replaceChildren();
  let value;
  try {
    value = json === null ? undefined : JSON.parse(json);
  } catch {
    value = undefined;
  }
  const rows = value === undefined ? null : rowsOf(value);
  if (rows) {
    const head = element('tr', {}, element('th', { text: '' }), ...rows.columns.map((c) => element('th', { text: c })));
    const body = rows.entries.map(([key, row]) =>
      element('tr', {}, element('th', { text: key }), ...rows.columns.map((c) => element('td', { text: cellText(row[c]) }))));
    view.append(element('div', { class: 'table-wrap' }, element('table', {}, element('thead', {}, head), element('tbody', {}, ...body))));
  } else {
    view.append(element('pre', { text: json ?? text ?? '' }));
  }
  view.classList.remove('hidden');
  bringReportIntoView();
}

function runCall(title, message) {
  return runMessage(title, message, 'Calling', 'CALL_FUNCTION_RESPONSE',
    (result) => showValue(title, result.getAttribute('Json'), result.getAttribute('Text')));
}

$('reload').addEventListener('click', loadPlugins);
loadPlugins();

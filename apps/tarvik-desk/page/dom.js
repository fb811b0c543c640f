/// Making elements, talking to the API, and small texts.

/// el("button", {class: "primary", onclick: f, disabled: true}, "Save", ...)
export function el(tag, attributes = {}, ...children) {
  return fill(document.createElement(tag), attributes, children);
}

export function svg(tag, attributes = {}, ...children) {
  return fill(document.createElementNS("http://www.w3.org/2000/svg", tag), attributes, children);
}

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false) continue;
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "value" || name === "checked" || name === "disabled") element[name] = value;
    else if (name === "color") element.style.background = value;
    else element.setAttribute(name, value === true ? "" : value);
  }
  element.append(...children.flat().filter((c) => c !== null && c !== undefined && c !== false));
  return element;
}

export function panel(title, tools, ...body) {
  return el("section", {class: "panel", "aria-label": title},
    el("header", {}, el("h2", {}, title), tools), ...body);
}

/// One request; a failure is an Error with the desk's own sentence.
export async function api(method, path, body) {
  const options = {method};
  if (body !== undefined) {
    options.headers = {"Content-Type": typeof body === "string" ? "application/xml" : "application/json"};
    options.body = typeof body === "string" ? body : JSON.stringify(body);
  }
  let response;
  try {
    response = await fetch(path, options);
  } catch {
    throw new Error("The desk does not answer. Is tarvik-desk still running?");
  }
  const answer = await response.json().catch(() => null);
  if (!response.ok) {
    const error = new Error(answer?.error?.message ?? `The desk answered with status ${response.status}.`);
    Object.assign(error, answer?.error, {status: response.status});
    throw error;
  }
  return answer;
}

export function toast(text, bad = false) {
  const line = el("p", {class: bad ? "bad" : ""}, text);
  const box = document.getElementById("toasts");
  box.append(line);
  while (box.children.length > 4) box.firstChild.remove();
  setTimeout(() => line.remove(), bad ? 9000 : 4500);
}

/// Runs what a person asked for; says so when it fails.
export async function attempt(action, done) {
  try {
    const result = await action();
    if (done) toast(typeof done === "function" ? done(result) : done);
    return result;
  } catch (error) {
    toast(error.message, true);
    return undefined;
  }
}

export function download(name, href) {
  const link = el("a", {href, download: name});
  document.body.append(link);
  link.click();
  link.remove();
}

/// Calls at most once in so many milliseconds, the last call for certain, one after the other.
export function throttled(action, ms) {
  let waiting = null, busy = false, last = 0;
  async function go() {
    if (busy || waiting === null) return;
    const rest = last + ms - performance.now();
    if (rest > 0) { setTimeout(go, rest); return; }
    const [args] = [waiting];
    waiting = null; busy = true; last = performance.now();
    try { await action(...args); } finally { busy = false; go(); }
  }
  return (...args) => { waiting = args; go(); };
}

export const fixed = (value, digits) => Number(value).toFixed(digits).replace("-", "\u2212");
export const percent = (value) => `${Math.floor(value * 1000 / 10)} %`;

export function confirmDialog(title, text, action) {
  return new Promise((resolve) => {
    const dialog = el("dialog", {"aria-label": title},
      el("form", {method: "dialog"},
        el("header", {}, el("h2", {}, title)),
        el("div", {class: "body"}, el("p", {}, text)),
        el("footer", {},
          el("button", {value: "no"}, "Cancel"),
          el("button", {value: "yes", class: "danger"}, action))));
    dialog.addEventListener("close", () => { resolve(dialog.returnValue === "yes"); dialog.remove(); });
    document.body.append(dialog);
    dialog.showModal();
  });
}

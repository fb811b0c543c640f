/// What the page knows: state, templates and settings, kept fresh by the desk's events.

import {api} from "/dom.js";

class Desk extends EventTarget {
  state = {phase: "connecting", text: ""};
  templates = [];
  capacity = 32;
  nextId = 1;
  settings = new Map();
  undo = [];
  log = [];
  #source = null;
  #wish = null;
  #decoding = false;

  /// What the view shown needs: {pictures: ["original"], results: true, histogram: true}.
  watch(wish = {}) {
    const query = new URLSearchParams();
    if (wish.pictures?.length) query.set("pictures", wish.pictures.join(","));
    if (wish.results) query.set("results", "1");
    if (wish.histogram) query.set("histogram", "1");
    const text = query.toString();
    if (text === this.#wish) return;
    this.#wish = text;
    this.#open();
  }

  #open() {
    this.#source?.close();
    const source = new EventSource(`/api/events?${this.#wish}`);
    this.#source = source;
    source.addEventListener("state", (e) => this.#stateCame(JSON.parse(e.data)));
    source.addEventListener("image", (e) => this.#imageCame(e.data));
    source.addEventListener("log", (e) => this.#logCame(JSON.parse(e.data)));
    source.addEventListener("settings", () => this.loadSettings());
    source.addEventListener("templates", () => this.loadTemplates());
    source.addEventListener("error", () => {
      if (this.#source !== source) return;
      this.#stateCame({...this.state, phase: "desk", text: "No connection to the desk; trying again."});
      if (source.readyState === EventSource.CLOSED) {
        this.#explain();
        setTimeout(() => { if (this.#source === source) this.#open(); }, 2000);
      }
    });
  }

  /// A refused event stream tells no reason; a plain request does.
  async #explain() {
    try {
      const response = await fetch(`/api/events?${this.#wish}`, {signal: AbortSignal.timeout(3000)});
      if (!response.ok) {
        const text = (await response.json()).error.message;
        this.#stateCame({...this.state, phase: "desk", text});
      } else {
        response.body.cancel();
      }
    } catch { /* the desk itself is away */ }
  }

  #stateCame(state) {
    this.state = state;
    this.emit("state");
  }

  #logCame(entries) {
    const last = this.log.at(-1)?.number ?? 0;
    if (entries[0].number <= last) this.log = []; // a new desk
    this.log.push(...entries);
    if (this.log.length > 2000) this.log.splice(0, this.log.length - 2000);
    this.emit("log", entries);
  }

  /// While one image is being decoded the next ones are dropped.
  async #imageCame(text) {
    if (this.#decoding) return;
    this.#decoding = true;
    try {
      const frame = JSON.parse(text);
      for (const [kind, data] of Object.entries(frame.pictures)) {
        frame.pictures[kind] = await createImageBitmap(new Blob([bytes(data)]));
      }
      this.emit("frame", frame);
    } finally {
      this.#decoding = false;
    }
  }

  async loadTemplates() {
    try {
      const answer = await api("GET", "/api/templates");
      Object.assign(this, {templates: answer.templates, capacity: answer.capacity, nextId: answer.nextId});
      this.emit("templates");
    } catch { /* comes again with the connection */ }
  }

  async loadSettings() {
    try {
      this.takeSettings(await api("GET", "/api/settings"));
    } catch { /* comes again with the connection */ }
  }

  takeSettings(answer) {
    this.settings = new Map(answer.settings.map((s) => [s.name, s]));
    this.undo = answer.undo;
    this.emit("settings");
    return answer;
  }

  value(name) { return this.settings.get(name)?.value; }

  async change(changes) { return this.takeSettings(await api("PATCH", "/api/settings", changes)); }

  async takeBack() { return this.takeSettings(await api("POST", "/api/undo", {})); }

  template(id) { return this.templates.find((t) => t.id === id); }

  nameOf(id) {
    if (id === null || id === undefined) return "";
    return this.template(id)?.name || `Template ${id}`;
  }

  emit(name, detail) { this.dispatchEvent(new CustomEvent(name, {detail})); }

  /// Listens until the view's signal aborts.
  on(name, signal, action) { this.addEventListener(name, (e) => action(e.detail), {signal}); }
}

function bytes(base64) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(base64);
  return Uint8Array.from(atob(base64), (c) => c.charCodeAt(0));
}

/// Colours far apart for neighbouring ids, readable on pictures.
export function colourOf(id) {
  if (id === null || id === undefined) return "#f2b84b";
  return `oklch(0.8 0.14 ${(id * 67 + 118) % 360})`;
}

export const desk = new Desk();

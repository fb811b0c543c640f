/// The window of grey, or of hue, saturation and value, that is foreground.

import {attempt, el, panel, throttled} from "/dom.js";
import {desk} from "/desk.js";
import {Scene} from "/scene.js";

const GREY = [["grey", "Grey", "camera.ThresholdLow", "camera.ThresholdHigh", false]];
const HSV = [["hue", "Hue", "camera.LowerValH", "camera.GreaterValH", true],
  ["saturation", "Saturation", "camera.LowerValS", "camera.GreaterValS", false],
  ["value", "Brightness", "camera.LowerValV", "camera.GreaterValV", false]];

export function threshold(main, signal) {
  const picture = new Scene({label: "Picture"});
  const binary = new Scene({label: "Binary picture"});
  binary.kind = "binary";
  picture.overlays = new Set(["contours", "holes"]);
  binary.overlays = new Set(["contours"]);
  let bars = [], colour = null;

  const invert = el("input", {type: "checkbox", id: "invert", onchange: () => send({"camera.Invert": invert.checked})});
  const share = el("p", {class: "hint"});
  const box = el("div", {class: "stack body"});
  const send = throttled((changes) => attempt(() => desk.change(changes)), 60);
  const suggest = el("button", {type: "button", onclick: () => bars.forEach((b) => b.suggest())}, "Suggest");

  main.append(el("div", {class: "stack"},
    panel("Threshold", [suggest, el("label", {class: "check", for: "invert"}, invert, "Invert")], box),
    el("div", {class: "split even"}, panel("Picture", null, picture.element), panel("What the camera makes of it", share, binary.element))));

  function build() {
    colour = Boolean(desk.state.colour);
    suggest.hidden = colour;
    bars = (colour ? HSV : GREY).map((channel) => new Bar(channel, send));
    box.replaceChildren(el("div", {class: colour ? "channels" : ""}, bars.map((b) => b.element)),
      el("p", {class: "hint"}, "Drag the two handles, or move them with the arrow keys. What lies between them is foreground" +
        (colour ? "; with the hue's first handle to the right of the second the window runs through red." : ".")));
    read();
  }
  function read() {
    invert.checked = desk.value("camera.Invert") ?? false;
    bars.forEach((b) => b.read());
  }

  desk.on("state", signal, () => { if (colour !== Boolean(desk.state.colour)) build(); });
  desk.on("settings", signal, read);
  desk.on("frame", signal, (frame) => {
    picture.show(frame);
    binary.show(frame);
    bars.forEach((b) => b.show(frame.histogram?.[b.channel]));
    share.textContent = `${frame.objects.length} objects`;
    share.className = "muted small";
  });
  build();
  desk.watch({pictures: ["original", "binary"], results: true, histogram: true});
}

/// A histogram with two handles.
class Bar {
  counts = null;
  held = null;

  constructor([channel, title, low, high, wraps], send) {
    Object.assign(this, {channel, low, high, wraps, send, values: [0, 255]});
    this.canvas = el("canvas", {"aria-hidden": "true"});
    this.handles = [0, 1].map((which) => el("button", {type: "button", class: "handle", role: "slider",
      "aria-label": `${title} ${which ? "to" : "from"}`, "aria-valuemin": 0, "aria-valuemax": 255, "data-setting": which ? high : low,
      onkeydown: (e) => this.#key(e, which)}));
    this.track = el("div", {class: "histogram"}, this.canvas, this.handles);
    this.track.addEventListener("pointerdown", (e) => this.#grab(e));
    this.track.addEventListener("pointermove", (e) => { if (this.held !== null) this.#move(this.held, this.#at(e)); });
    for (const end of ["pointerup", "pointercancel"]) this.track.addEventListener(end, () => { this.held = null; });
    this.element = el("div", {}, el("h3", {}, title), this.track);
    new ResizeObserver(() => this.draw()).observe(this.track);
  }

  read() {
    if (this.held !== null) return; // the hand knows better
    this.values = [desk.value(this.low) ?? 0, desk.value(this.high) ?? 255];
    this.draw();
  }

  show(counts) { this.counts = counts ?? this.counts; this.draw(); }

  /// Otsu, IEEE Transactions on Systems, Man and Cybernetics 9, 1979: the value that parts the
  /// histogram into the two most distinct classes.
  suggest() {
    if (!this.counts) return;
    const total = this.counts.reduce((a, b) => a + b, 0);
    const sum = this.counts.reduce((a, b, i) => a + b * i, 0);
    let best = 128, most = -1, count = 0, part = 0;
    this.counts.forEach((n, i) => {
      count += n; part += n * i;
      if (count === 0 || count === total) return;
      const between = (sum * count / total - part) ** 2 / (count * (total - count));
      if (between > most) { most = between; best = i + 1; }
    });
    this.#set([best, 255]);
  }

  #at(event) {
    const box = this.track.getBoundingClientRect();
    return Math.min(255, Math.max(0, Math.round((event.clientX - box.left) / box.width * 255)));
  }

  #grab(event) {
    event.preventDefault();
    const value = this.#at(event);
    const handle = this.handles.indexOf(event.target);
    this.held = handle >= 0 ? handle : Math.abs(value - this.values[0]) <= Math.abs(value - this.values[1]) ? 0 : 1;
    this.track.setPointerCapture(event.pointerId);
    this.handles[this.held].focus();
    this.#move(this.held, value);
  }

  #key(event, which) {
    const steps = {ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageUp: 10, PageDown: -10, Home: -255, End: 255};
    if (!(event.key in steps)) return;
    event.preventDefault();
    this.#move(which, Math.min(255, Math.max(0, this.values[which] + steps[event.key])));
  }

  #move(which, value) {
    const values = [...this.values];
    values[which] = value;
    if (!this.wraps && values[0] > values[1]) values[1 - which] = value; // one pushes the other
    this.#set(values);
  }

  #set(values) {
    if (values[0] === this.values[0] && values[1] === this.values[1]) return;
    this.values = values;
    this.draw();
    this.send({[this.low]: values[0], [this.high]: values[1]});
  }

  draw() {
    const [low, high] = this.values;
    this.handles.forEach((h, i) => {
      h.style.left = `${this.values[i] / 255 * 100}%`;
      h.dataset.value = this.values[i];
      h.setAttribute("aria-valuenow", this.values[i]);
    });
    const width = this.canvas.width = Math.max(1, Math.round(this.track.clientWidth * devicePixelRatio));
    const height = this.canvas.height = Math.round(this.track.clientHeight * devicePixelRatio);
    const c = this.canvas.getContext("2d");
    const style = getComputedStyle(document.documentElement);
    c.fillStyle = style.getPropertyValue("--raised");
    c.fillRect(0, 0, width, height);
    if (!this.counts) return;
    const peak = Math.sqrt(Math.max(1, ...this.counts));
    const step = width / 256;
    const within = (i) => low <= high ? i >= low && i <= high : this.wraps && (i >= low || i <= high);
    const [on, off] = [style.getPropertyValue("--accent"), style.getPropertyValue("--strong")];
    this.counts.forEach((n, i) => {
      const h = Math.sqrt(n) / peak * (height - 4); // square roots keep the small counts visible
      c.fillStyle = within(i) ? on : off;
      c.fillRect(i * step, height - h, Math.ceil(step), h);
    });
  }
}

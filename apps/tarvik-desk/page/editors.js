/// Settings that are places: edited with the pointer in the picture. The same settings stand as
/// numbers beside it for the keyboard.

import {api, attempt, el, fixed} from "/dom.js";
import {desk} from "/desk.js";
import {clippingBands, cross, line, regionOfInterest} from "/scene.js";

const HANDLE = "#7fd3e0";

function knob(c, x, y, unit, colour = HANDLE) {
  c.fillStyle = "#10161a";
  c.strokeStyle = colour;
  c.lineWidth = 2 * unit;
  c.beginPath();
  c.rect(x - 5 * unit, y - 5 * unit, 10 * unit, 10 * unit);
  c.fill();
  c.stroke();
}

const near = (p, q, limit) => Math.hypot(p.x - q.x, p.y - q.y) < limit;

class RegionEditor {
  static title = "Region";
  rect = null;
  mode = null;

  constructor({scene, tools, change}) {
    Object.assign(this, {scene, change});
    tools.append(el("p", {class: "hint"}, "Draw a rectangle: only what lies in it is analysed. Drag its corners or its middle to change it."),
      el("button", {type: "button", onclick: () => change({"analyzer.ROI.X": 0, "analyzer.ROI.Y": 0, "analyzer.ROI.Width": 0, "analyzer.ROI.Height": 0})}, "Whole image"));
    this.read();
  }

  read() { this.rect = this.scene.frame ? regionOfInterest(this.scene.frame.width, this.scene.frame.height) : null; }

  corners(r) { return [{x: r.x, y: r.y}, {x: r.x + r.w, y: r.y}, {x: r.x + r.w, y: r.y + r.h}, {x: r.x, y: r.y + r.h}]; }

  press(p) {
    this.read();
    const limit = this.scene.frame.width / 40;
    const corner = this.rect ? this.corners(this.rect).findIndex((q) => near(p, q, limit)) : -1;
    if (corner >= 0) this.fix = this.corners(this.rect)[(corner + 2) % 4];
    const within = this.rect && p.x > this.rect.x && p.x < this.rect.x + this.rect.w && p.y > this.rect.y && p.y < this.rect.y + this.rect.h;
    this.mode = corner >= 0 ? "corner" : within ? "body" : "new";
    if (this.mode === "new") this.fix = p;
    this.from = p;
    this.before = this.rect;
  }

  move(p) {
    const {width, height} = this.scene.frame;
    const clamp = (v, most) => Math.round(Math.min(most, Math.max(0, v)));
    if (this.mode === "body") {
      const b = this.before;
      this.rect = {...b, x: clamp(b.x + p.x - this.from.x, width - b.w), y: clamp(b.y + p.y - this.from.y, height - b.h)};
    } else {
      const [x0, x1] = [this.fix.x, p.x].map((v) => clamp(v, width)).sort((a, b) => a - b);
      const [y0, y1] = [this.fix.y, p.y].map((v) => clamp(v, height)).sort((a, b) => a - b);
      this.rect = {x: x0, y: y0, w: x1 - x0, h: y1 - y0};
    }
    this.moved = true;
  }

  release() {
    const r = this.rect;
    if (this.moved && r && r.w > 3 && r.h > 3) {
      this.change({"analyzer.ROI.X": r.x, "analyzer.ROI.Y": r.y, "analyzer.ROI.Width": r.w, "analyzer.ROI.Height": r.h});
    } else {
      this.read();
    }
    this.mode = null;
    this.moved = false;
  }

  draw(c, unit) {
    if (!this.mode) this.read();
    const r = this.rect;
    if (!r) return;
    const {width, height} = this.scene.frame;
    c.fillStyle = "rgb(8 11 13 / 55%)";
    c.fillRect(0, 0, width, r.y);
    c.fillRect(0, r.y + r.h, width, height);
    c.fillRect(0, r.y, r.x, r.h);
    c.fillRect(r.x + r.w, r.y, width, r.h);
    c.strokeStyle = HANDLE;
    c.lineWidth = 2 * unit;
    c.strokeRect(r.x, r.y, r.w, r.h);
    for (const q of this.corners(r)) knob(c, q.x, q.y, unit);
  }
}

class ClippingEditor {
  static title = "Clipping";
  side = null;

  constructor({scene, tools, change}) {
    Object.assign(this, {scene, change});
    tools.append(el("p", {class: "hint"}, "Drag the edge of a band. Parts that reach into an active band are not recognised, because some of them may lie outside the picture."));
  }

  inner() {
    const {width, height} = this.scene.frame;
    const size = (side) => desk.value(`analyzer.ClippingFrame.${side}.Size`) * width / 2;
    return {Top: size("Top"), Right: width - size("Right"), Bottom: height - size("Bottom"), Left: size("Left")};
  }

  press(p) {
    const inner = this.inner();
    const distances = {Top: Math.abs(p.y - inner.Top), Bottom: Math.abs(p.y - inner.Bottom), Left: Math.abs(p.x - inner.Left), Right: Math.abs(p.x - inner.Right)};
    this.side = Object.entries(distances).sort((a, b) => a[1] - b[1])[0][0];
    if (distances[this.side] > this.scene.frame.width / 20) this.side = null;
  }

  move(p) {
    if (!this.side) return;
    const {width, height} = this.scene.frame;
    const pixels = {Top: p.y, Bottom: height - p.y, Left: p.x, Right: width - p.x}[this.side];
    const size = Math.max(0, Math.min(pixels, height / 2)) / (width / 2);
    this.change({[`analyzer.ClippingFrame.${this.side}.Size`]: Number(size.toFixed(4))});
  }

  release() { this.side = null; }

  draw(c, unit) {
    const {width, height} = this.scene.frame;
    c.fillStyle = "rgb(242 184 75 / 26%)";
    for (const [x, y, w, h] of clippingBands(width, height)) c.fillRect(x, y, w, h);
    const inner = this.inner();
    if (Number.isNaN(inner.Top)) return;
    knob(c, width / 2, inner.Top, unit, "#f2b84b");
    knob(c, width / 2, inner.Bottom, unit, "#f2b84b");
    knob(c, inner.Left, height / 2, unit, "#f2b84b");
    knob(c, inner.Right, height / 2, unit, "#f2b84b");
  }
}

/// Quadrants by the signs of x and y, y downwards.
const quadrant = (x, y) => y <= 0 ? (x > 0 ? "Q1" : "Q2") : (x > 0 ? "Q4" : "Q3");
const lens = (q) => `analyzer.LensCorrectionParams.K1.${q}`;

class LensEditor {
  static title = "Lens";
  held = null;

  constructor({scene, tools, change}) {
    Object.assign(this, {scene, change});
    tools.append(el("p", {class: "hint"}, "The grid shows where points are moved to. Drag a knob outwards or inwards until a straight edge of the scene runs along the grid."),
      el("button", {type: "button", onclick: () => change(Object.fromEntries(["Q1", "Q2", "Q3", "Q4"].map((q) => [lens(q), 0])))}, "No correction"));
  }

  /// From normalised coordinates to the corrected place in pixels.
  place(x, y) {
    const {width, height} = this.scene.frame;
    const q = desk.value("analyzer.PerformLensCorrection") ? desk.value(lens(quadrant(x, y))) ?? 0 : 0;
    const factor = 1 + q * (x * x + y * y);
    return {x: width / 2 + x * factor * width / 2, y: height / 2 + y * factor * width / 2};
  }

  knobs() {
    const h = this.scene.frame.height / this.scene.frame.width;
    return [["Q1", .75, -.75 * h], ["Q2", -.75, -.75 * h], ["Q3", -.75, .75 * h], ["Q4", .75, .75 * h]];
  }

  press(p) {
    this.held = this.knobs().find(([, x, y]) => near(p, this.place(x, y), this.scene.frame.width / 25)) ?? null;
  }

  move(p) {
    if (!this.held) return;
    const [q, x, y] = this.held;
    const {width, height} = this.scene.frame;
    const r = Math.hypot(x, y);
    const along = ((p.x - width / 2) * x + (p.y - height / 2) * y) / (r * width / 2);
    const value = Math.max(-.5, Math.min(.5, (along / r - 1) / (r * r)));
    this.change({[lens(q)]: Number(value.toFixed(4)), "analyzer.PerformLensCorrection": true});
  }

  release() { this.held = null; }

  draw(c, unit) {
    const h = this.scene.frame.height / this.scene.frame.width;
    c.strokeStyle = "rgb(127 211 224 / 65%)";
    c.lineWidth = 1.2 * unit;
    const N = 8, S = 40;
    for (let i = -N; i <= N; ++i) {
      for (const swap of [false, true]) {
        c.beginPath();
        for (let k = -S; k <= S; ++k) {
          const p = swap ? this.place(i / N, k / S * h) : this.place(k / S, i / N * h);
          if (k === -S) c.moveTo(p.x, p.y); else c.lineTo(p.x, p.y);
        }
        c.stroke();
      }
    }
    for (const [, x, y] of this.knobs()) { const p = this.place(x, y); knob(c, p.x, p.y, unit); }
  }
}

class TransformEditor {
  static title = "Transform";
  static points = []; ///< survive a change of the view

  constructor({scene, tools}) {
    this.scene = scene;
    this.table = el("div", {});
    this.outcome = el("div", {role: "status"});
    tools.append(el("p", {class: "hint"}, "Click points whose robot coordinates you know, and type them in: two for turn and scale, three or more for a full fit."),
      this.table, this.outcome);
    this.list();
  }

  press(p) {
    const frame = this.scene.frame;
    // The centre of an object is found more exactly than a hand clicks.
    const object = this.scene.objectAt(p);
    const seen = object ? object.pixel : {x: Math.round(p.x * 10) / 10, y: Math.round(p.y * 10) / 10};
    TransformEditor.points.push({seen, robot: {x: Math.round(seen.x - frame.width / 2), y: Math.round(seen.y - frame.height / 2)}});
    this.residuals = null;
    this.list();
    this.table.querySelector("tbody tr:last-child input")?.focus();
  }

  move() {}

  release() {}

  list() {
    const points = TransformEditor.points;
    const number = (p, axis, i) => el("input", {type: "number", step: "any", value: p.robot[axis], "aria-label": `Robot ${axis.toUpperCase()} of point ${i + 1}`,
      oninput: (e) => { p.robot[axis] = Number(e.target.value); }});
    this.table.replaceChildren(points.length ? el("table", {}, el("thead", {}, el("tr", {}, ["", "Seen at", "Robot X", "Robot Y", "Off by", ""].map((h) => el("th", {}, h)))),
      el("tbody", {}, points.map((p, i) => el("tr", {}, el("td", {}, i + 1), el("td", {class: "small"}, `${fixed(p.seen.x, 1)}, ${fixed(p.seen.y, 1)}`),
        el("td", {}, number(p, "x", i)), el("td", {}, number(p, "y", i)), el("td", {class: "num"}, this.residuals ? fixed(this.residuals[i], 3) : ""),
        el("td", {}, el("button", {type: "button", class: "quiet", "aria-label": `Remove point ${i + 1}`, onclick: () => { points.splice(i, 1); this.residuals = null; this.list(); this.scene.draw(); }}, "×")))))) : "",
    el("div", {class: "row"}, el("button", {type: "button", disabled: points.length < 2, onclick: () => this.fit(false)}, "Compute"),
      el("button", {type: "button", class: "primary", disabled: points.length < 2, onclick: () => this.fit(true)}, "Compute and apply"),
      el("button", {type: "button", class: "quiet", disabled: !points.length, onclick: () => { points.length = 0; this.residuals = null; this.outcome.replaceChildren(); this.list(); this.scene.draw(); }}, "Clear")));
  }

  async fit(apply) {
    const answer = await attempt(() => api("POST", "/api/transform", {points: TransformEditor.points, apply}), apply ? "The transform acts from the next image on." : undefined);
    if (!answer) return;
    this.residuals = answer.residuals;
    this.list();
    const m = answer.matrix;
    this.outcome.replaceChildren(el("p", {class: "mono"}, `X = ${m.column0.x} x + ${m.column0.y} y + ${m.column2.x}`), el("p", {class: "mono"}, `Y = ${m.column1.x} x + ${m.column1.y} y + ${m.column2.y}`),
      el("p", {}, `Residual (root mean square): ${fixed(answer.rms, 4)} robot units` + (TransformEditor.points.length <= 3 ? "; with so few points it says little." : "")),
      answer.mirrored ? el("p", {class: "warn"}, "The robot's plane is mirrored: reported rotations do not follow that.") : "");
  }

  draw(c, unit) {
    TransformEditor.points.forEach((p, i) => {
      cross(c, p.seen.x, p.seen.y, 8 * unit, 2 * unit, "#ff6b9d");
      c.fillStyle = "#ff6b9d";
      c.font = `600 ${13 * unit}px system-ui, sans-serif`;
      c.textAlign = "left";
      c.textBaseline = "bottom";
      c.fillText(String(i + 1), p.seen.x + 6 * unit, p.seen.y - 4 * unit);
    });
    c.lineWidth = unit;
    c.strokeStyle = "rgb(255 107 157 / 45%)";
    const {width, height} = this.scene.frame;
    line(c, width / 2, 0, width / 2, height);
    line(c, 0, height / 2, width, height / 2);
  }
}

export const EDITORS = [RegionEditor, ClippingEditor, LensEditor, TransformEditor];

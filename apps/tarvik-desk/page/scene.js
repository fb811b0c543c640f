/// A picture with what was found in it. Coordinates are pixels of the picture.

import {el, fixed} from "/dom.js";
import {colourOf, desk} from "/desk.js";

export const OVERLAYS = [
  ["contours", "Contours"], ["holes", "Holes"], ["names", "Names and confidence"], ["ids", "Ids"],
  ["centres", "Centres"], ["axes", "Axes"], ["grips", "Grip points"], ["cuts", "Cuts"],
  ["clipping", "Clipping frame"], ["roi", "Region of interest"],
];

const DEFAULT_ON = ["contours", "holes", "names", "grips", "axes", "cuts", "roi"];

export function storedOverlays() {
  try {
    return new Set(JSON.parse(localStorage.getItem("overlays")) ?? DEFAULT_ON);
  } catch {
    return new Set(DEFAULT_ON);
  }
}

export class Scene {
  frame = null;
  kind = "original";
  overlays = storedOverlays();
  selected = null;
  extra = null; ///< (context, unit) => draws more; one unit is a pixel of the screen

  constructor({label = "Camera picture"} = {}) {
    this.canvas = el("canvas", {width: 640, height: 480, role: "img", "aria-label": label});
    this.veil = el("div", {class: "veil"}, "Waiting for the first image \u2026");
    this.badge = el("div", {class: "badge", hidden: true});
    this.element = el("div", {class: "scene"}, this.canvas, this.veil, this.badge);
    this.label = label;
    new ResizeObserver(() => this.draw()).observe(this.element);
  }

  show(frame) {
    this.frame = frame;
    this.draw();
  }

  say(text) {
    this.veil.hidden = text === "";
    this.veil.style.display = text === "" ? "none" : "";
    this.veil.textContent = text;
  }

  note(text) {
    this.badge.hidden = text === "";
    this.badge.textContent = text;
  }

  /// Where in the picture an event happened.
  point(event) {
    const box = this.canvas.getBoundingClientRect();
    const frame = this.frame ?? {width: 640, height: 480};
    return {x: (event.clientX - box.left) * frame.width / box.width,
            y: (event.clientY - box.top) * frame.height / box.height};
  }

  objectAt(p) {
    const hits = (this.frame?.objects ?? []).filter((o) => inside(o.outline, p));
    return hits.at(-1) ?? null;
  }

  draw() {
    const frame = this.frame;
    if (!frame) return;
    const width = Math.max(1, Math.round(this.element.clientWidth * devicePixelRatio));
    const height = Math.round(width * frame.height / frame.width);
    if (this.canvas.width !== width || this.canvas.height !== height) {
      this.canvas.width = width;
      this.canvas.height = height;
    }
    const c = this.canvas.getContext("2d");
    const scale = width / frame.width;
    c.setTransform(1, 0, 0, 1, 0, 0);
    const picture = frame.pictures?.[this.kind];
    if (picture) {
      c.imageSmoothingEnabled = this.kind !== "binary";
      c.drawImage(picture, 0, 0, width, height);
    } else {
      c.fillStyle = "#10161a";
      c.fillRect(0, 0, width, height);
    }
    this.say("");
    // Pixel centres lie at whole numbers, the picture's corner half a pixel before.
    c.setTransform(scale, 0, 0, scale, scale / 2, scale / 2);
    const unit = devicePixelRatio / scale;
    this.#areas(c, unit);
    for (const object of frame.objects ?? []) this.#object(c, unit, object);
    if (this.overlays.has("cuts")) this.#cuts(c, unit);
    this.extra?.(c, unit);
  }

  describe() {
    const objects = this.frame?.objects ?? [];
    const known = objects.filter((o) => o.template !== null).length;
    this.canvas.setAttribute("aria-label", `${this.label}: ${objects.length} objects, ${known} recognised`);
  }

  #areas(c, unit) {
    const {width, height} = this.frame;
    if (this.overlays.has("clipping")) {
      c.fillStyle = "rgb(242 184 75 / 20%)";
      for (const [x, y, w, h] of clippingBands(width, height)) c.fillRect(x - .5, y - .5, w, h);
    }
    const roi = regionOfInterest(width, height);
    if (this.overlays.has("roi") && roi) {
      c.strokeStyle = "#7fd3e0";
      c.lineWidth = 1.5 * unit;
      c.setLineDash([7 * unit, 5 * unit]);
      c.strokeRect(roi.x - .5, roi.y - .5, roi.w, roi.h);
      c.setLineDash([]);
    }
  }

  #object(c, unit, o) {
    const colour = colourOf(o.template);
    const chosen = this.selected === o.id;
    const on = this.overlays;
    c.strokeStyle = colour;
    c.lineJoin = "round";
    if (on.has("contours") || chosen) {
      c.lineWidth = (chosen ? 3.5 : 2) * unit;
      if (o.template === null && !chosen) c.setLineDash([6 * unit, 4 * unit]);
      trace(c, o.outline);
      if (chosen) { c.fillStyle = "rgb(127 211 224 / 18%)"; c.fill(); }
      c.stroke();
      c.setLineDash([]);
    }
    if (on.has("holes")) {
      c.lineWidth = 1.3 * unit;
      for (const hole of o.holes) { trace(c, hole); c.stroke(); }
    }
    const {x, y} = o.pixel;
    if (on.has("axes") && o.template !== null) arrow(c, unit, o, colour);
    if (on.has("centres")) cross(c, x, y, 5 * unit, 1.4 * unit, colour);
    if (on.has("grips") && o.grip) ring(c, o.grip, unit);
    const lines = [];
    if (on.has("names")) {
      if (o.template !== null) lines.push(`${desk.nameOf(o.template)}  ${Math.floor(o.confidence * 100 + .001)} %`);
      else if (o.clipped) lines.push("clipped");
      else lines.push("?");
    }
    if (on.has("ids")) lines.push(`#${o.id}`);
    if (lines.length) caption(c, unit, lines, (o.box[0] + o.box[2]) / 2, o.box[3] + 5 * unit, colour, this.frame);
  }

  #cuts(c, unit) {
    c.strokeStyle = "#ff6b9d";
    c.lineWidth = 2.4 * unit;
    for (const [x1, y1, x2, y2] of this.frame.cuts ?? []) line(c, x1, y1, x2, y2);
  }
}

export function inside(outline, p) {
  let odd = false;
  for (let i = 0, j = outline.length - 2; i < outline.length; j = i, i += 2) {
    const [xi, yi, xj, yj] = [outline[i], outline[i + 1], outline[j], outline[j + 1]];
    if ((yi > p.y) !== (yj > p.y) && p.x < (xj - xi) * (p.y - yi) / (yj - yi) + xi) odd = !odd;
  }
  return odd;
}

export function regionOfInterest(width, height) {
  const [x, y, w, h] = ["X", "Y", "Width", "Height"].map((n) => desk.value(`analyzer.ROI.${n}`) ?? 0);
  return w > 0 && h > 0 ? {x, y, w: Math.min(w, width - x), h: Math.min(h, height - y)} : null;
}

export function clippingBands(width, height) {
  const band = (side) => desk.value(`analyzer.ClippingFrame.${side}.Active`)
    ? desk.value(`analyzer.ClippingFrame.${side}.Size`) * width / 2 : 0;
  const [t, r, b, l] = ["Top", "Right", "Bottom", "Left"].map(band);
  return [[0, 0, width, t], [width - r, t, r, height - t - b], [0, height - b, width, b], [0, t, l, height - t - b]];
}

export function line(c, x1, y1, x2, y2) {
  c.beginPath();
  c.moveTo(x1, y1);
  c.lineTo(x2, y2);
  c.stroke();
}

function trace(c, outline) {
  c.beginPath();
  c.moveTo(outline[0], outline[1]);
  for (let i = 2; i < outline.length; i += 2) c.lineTo(outline[i], outline[i + 1]);
  c.closePath();
}

export function cross(c, x, y, size, width, colour) {
  c.strokeStyle = colour;
  c.lineWidth = width;
  line(c, x - size, y, x + size, y);
  line(c, x, y - size, x, y + size);
}

export function ring(c, p, unit, colour = "#ffffff") {
  c.lineWidth = 3.6 * unit;
  c.strokeStyle = "rgb(8 11 13 / 70%)";
  for (let pass = 0; pass < 2; ++pass) {
    c.beginPath();
    c.arc(p.x, p.y, 5 * unit, 0, 7);
    c.stroke();
    c.strokeStyle = colour;
    c.lineWidth = 1.8 * unit;
  }
}

function arrow(c, unit, o, colour) {
  const a = o.axis * Math.PI / 180;
  const length = Math.max(18 * unit, Math.hypot(o.box[2] - o.box[0], o.box[3] - o.box[1]) * .3);
  const [x, y] = [o.pixel.x + Math.cos(a) * length, o.pixel.y + Math.sin(a) * length];
  c.strokeStyle = colour;
  c.lineWidth = 2 * unit;
  line(c, o.pixel.x, o.pixel.y, x, y);
  for (const side of [2.6, -2.6]) line(c, x, y, x + Math.cos(a + side) * 7 * unit, y + Math.sin(a + side) * 7 * unit);
}

function caption(c, unit, lines, x, y, colour, frame) {
  const size = 12 * unit;
  c.font = `600 ${size}px system-ui, sans-serif`;
  c.textAlign = "center";
  c.textBaseline = "top";
  const width = Math.max(...lines.map((l) => c.measureText(l).width)) + 8 * unit;
  const height = lines.length * size * 1.2 + 3 * unit;
  x = Math.min(Math.max(x, width / 2), frame.width - width / 2);
  y = Math.min(y, frame.height - height);
  c.fillStyle = "rgb(8 11 13 / 68%)";
  c.beginPath();
  c.roundRect(x - width / 2, y, width, height, 3 * unit);
  c.fill();
  c.fillStyle = colour;
  lines.forEach((l, i) => c.fillText(l, x, y + 2 * unit + i * size * 1.2));
}

export function pictureChoice(scene, kinds, changed) {
  const names = {original: "Picture", binary: "Binary", hue: "Hue", saturation: "Saturation", value: "Value"};
  const buttons = kinds.map((kind) => el("button", {
    type: "button", "data-kind": kind, "aria-pressed": String(scene.kind === kind),
    onclick: () => {
      scene.kind = kind;
      buttons.forEach((b) => b.setAttribute("aria-pressed", String(b.dataset.kind === kind)));
      scene.draw();
      changed?.(kind);
    },
  }, names[kind]));
  return el("div", {class: "segments", role: "group", "aria-label": "Which picture"}, buttons);
}

export const pixelText = (p) => `${fixed(p.x, 0)}, ${fixed(p.y, 0)}`;

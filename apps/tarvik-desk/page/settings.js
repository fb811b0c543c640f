/// Every setting of the camera, and those that are places in the picture drawn there.

import {el, panel, throttled, attempt} from "/dom.js";
import {desk} from "/desk.js";
import {Scene} from "/scene.js";
import {settingRow} from "/field.js";
import {EDITORS} from "/editors.js";

const GROUPS = [
  ["Camera", (n) => n.startsWith("camera.")],
  ["Analyzer", (n) => n.startsWith("analyzer.") && !/Lens|Clipping|ROI|Correction/.test(n)],
  ["Region of interest", (n) => n.startsWith("analyzer.ROI.")],
  ["Clipping frame", (n) => n.startsWith("analyzer.ClippingFrame.")],
  ["Lens correction", (n) => /PerformLensCorrection|LensCorrectionParams/.test(n)],
  ["Recognition", (n) => n === "database.ComparatorName" || n.startsWith("comparator.")],
  ["Breakup of touching parts", (n) => n.startsWith("breakup.")],
  ["Output transform", (n) => n.startsWith("database.Transform.CombinedMatrix")],
  ["Output transform, kept for other programs", (n) => n.startsWith("database.Transform.") && !n.includes("Combined")],
];

export function settings(main, signal) {
  const scene = new Scene({label: "Picture with the places of settings"});
  scene.overlays = new Set(["contours"]);
  const rows = new Map();
  const groups = el("div", {class: "stack"});
  const search = el("input", {type: "search", placeholder: "Find a setting", "aria-label": "Find a setting", oninput: () => filter()});
  const tools = el("div", {class: "body"});
  const tabs = el("div", {class: "segments", role: "group", "aria-label": "What to edit in the picture"});
  let editor = null;

  main.append(el("div", {class: "split"},
    el("div", {class: "stack"}, el("div", {class: "row"}, el("div", {class: "grow"}, search),
      el("p", {class: "hint"}, "Changes act at once; Undo is at the top.")), groups),
    el("div", {class: "sticky"}, panel("In the picture", tabs, scene.element, tools))));

  const send = (name, value) => desk.change({[name]: value});
  const context = {scene, tools, change: throttled((changes) => attempt(() => desk.change(changes)), 80)};
  for (const Editor of EDITORS) {
    tabs.append(el("button", {type: "button", "aria-pressed": "false", onclick: (e) => open(Editor, e.target)}, Editor.title));
  }
  function open(Editor, button) {
    for (const b of tabs.children) b.setAttribute("aria-pressed", String(b === button));
    tools.replaceChildren();
    editor = new Editor(context);
    scene.extra = (c, unit) => editor.draw(c, unit);
    scene.draw();
  }
  open(EDITORS[0], tabs.firstChild);

  let held = false;
  scene.canvas.addEventListener("pointerdown", (e) => {
    if (!scene.frame) return;
    held = true;
    scene.canvas.setPointerCapture(e.pointerId);
    editor.press(scene.point(e));
    scene.draw();
  });
  scene.canvas.addEventListener("pointermove", (e) => {
    if (held) { editor.move(scene.point(e)); scene.draw(); }
  });
  for (const end of ["pointerup", "pointercancel"]) {
    scene.canvas.addEventListener(end, () => { if (held) { held = false; editor.release(); scene.draw(); } });
  }

  function build() {
    rows.clear();
    const all = [...desk.settings.values()];
    groups.replaceChildren(...GROUPS.map(([title, belongs]) => {
      const mine = all.filter((s) => belongs(s.name)).map((s) => settingRow(s, send));
      mine.forEach((r) => rows.set(r.name, r));
      return mine.length ? panel(title, null, mine.map((r) => r.element)) : null;
    }).filter(Boolean));
    if (!all.length) groups.append(el("p", {class: "empty"}, "The settings come with the connection to the camera."));
    filter();
  }
  function filter() {
    const wanted = search.value.trim().toLowerCase();
    for (const section of groups.querySelectorAll("section")) {
      let any = false;
      for (const row of section.querySelectorAll(".setting")) {
        const hit = row.textContent.toLowerCase().includes(wanted);
        row.hidden = !hit;
        row.style.display = hit ? "" : "none";
        any ||= hit;
      }
      section.hidden = !any;
    }
  }
  desk.on("settings", signal, () => {
    if (desk.settings.size !== rows.size || [...desk.settings.keys()].some((n) => !rows.has(n))) build();
    else for (const s of desk.settings.values()) rows.get(s.name).read(s);
    if (!held) editor.read?.();
    scene.draw();
  });
  desk.on("frame", signal, (frame) => scene.show(frame));
  desk.on("state", signal, () => { if (desk.state.phase !== "connected") scene.say(desk.state.text || "Connecting \u2026"); });
  build();
  desk.watch({pictures: ["original"], results: true});
}

/// The frame around the views: navigation, connection, undo, colours.

import {attempt, el, svg} from "/dom.js";
import {desk} from "/desk.js";
import {live} from "/live.js";
import {threshold} from "/threshold.js";
import {teach} from "/teach.js";
import {settings} from "/settings.js";
import {results} from "/results.js";
import {log} from "/log.js";
import {system} from "/system.js";

const VIEWS = [
  ["live", "Live", live, "M3 5h12v10H3zM15 9l4-2v6l-4-2"],
  ["threshold", "Threshold", threshold, "M3 17h14M5 17v-5M8 17V6M11 17v-8M14 17v-3M10 3v14"],
  ["teach", "Teach", teach, "M10 3l7 4-7 4-7-4zM5 9v4c2 2 8 2 10 0V9"],
  ["settings", "Settings", settings, "M4 6h12M4 10h12M4 14h12M8 4v4M13 8v4M6 12v4"],
  ["results", "Results", results, "M3 16l4-6 4 3 6-9M3 3v14h14"],
  ["log", "Log", log, "M5 3h10v14H5zM8 7h4M8 10h4M8 13h4"],
  ["system", "System", system, "M10 3v5M6.5 5a6 6 0 1 0 7 0"],
];

const main = document.getElementById("main");
const nav = document.getElementById("nav");
let leave = null;

for (const [id, title, , path] of VIEWS) {
  nav.append(el("a", {href: `#${id}`, "data-view": id},
    svg("svg", {viewBox: "0 0 20 20", fill: "none", stroke: "currentColor", "stroke-width": 1.6,
      "stroke-linecap": "round", "stroke-linejoin": "round", "aria-hidden": "true"}, svg("path", {d: path})),
    title));
}

function show() {
  const id = location.hash.slice(1) || "live";
  const view = VIEWS.find((v) => v[0] === id) ?? VIEWS[0];
  leave?.abort();
  leave = new AbortController();
  for (const link of nav.children) {
    if (link.dataset.view === view[0]) link.setAttribute("aria-current", "page");
    else link.removeAttribute("aria-current");
  }
  document.title = `${view[1]} · Tarvik Desk`;
  main.replaceChildren();
  main.dataset.view = view[0];
  view[2](main, leave.signal);
}

/// The state in words, changed only when the words change: it is read aloud.
function words(state) {
  if (state.phase === "connected" && !state.imagesArrive) {
    return ["idle", `Connected to ${state.camera}, no images${state.externalTrigger ? ": waiting for the trigger" : ""}`];
  }
  if (state.phase === "connected") return ["connected", `Connected to ${state.camera}`];
  if (state.phase === "desk") return ["desk", state.text];
  return [state.phase, state.text ? `No camera: ${state.text}` : "Connecting \u2026"];
}

desk.addEventListener("state", () => {
  const state = desk.state;
  const [phase, text] = words(state);
  const link = document.getElementById("link");
  if (link.textContent !== text) link.textContent = text;
  link.dataset.phase = phase;
  document.getElementById("facts").textContent = state.phase === "connected"
    ? `${state.imagesPerSecond.toFixed(1)} images/s · ${state.width} × ${state.height}` : "";
});

const undo = document.getElementById("undo");
undo.addEventListener("click", () => attempt(() => desk.takeBack(), (r) => `Undone: ${r.step}`));
desk.addEventListener("settings", () => {
  const last = desk.undo.at(-1);
  undo.disabled = !last;
  undo.textContent = last ? `Undo: ${last}` : "Undo";
});

const themeButton = document.getElementById("theme");
const THEMES = {auto: ["Auto", "as the system"], light: ["Light", "light"], dark: ["Dark", "dark"]};
function theme(name) {
  if (name === "auto") delete document.documentElement.dataset.theme;
  else document.documentElement.dataset.theme = name;
  themeButton.textContent = THEMES[name][0];
  themeButton.setAttribute("aria-label", `Colours: ${THEMES[name][1]}`);
  localStorage.setItem("theme", name);
}
themeButton.addEventListener("click", () => {
  const names = Object.keys(THEMES);
  theme(names[(names.indexOf(localStorage.getItem("theme") ?? "auto") + 1) % names.length]);
});
theme(THEMES[localStorage.getItem("theme")] ? localStorage.getItem("theme") : "auto");

addEventListener("hashchange", () => { show(); main.focus({preventScroll: true}); scrollTo(0, 0); });
desk.loadSettings();
desk.loadTemplates();
show();

/// The camera's log and the desk's own, as they come.

import {el, panel} from "/dom.js";
import {desk} from "/desk.js";

const LEVELS = ["FINE", "INFO", "WARNING", "FATAL"];

export function log(main, signal) {
  const which = el("select", {"aria-label": "Log", onchange: () => fill()});
  const level = el("select", {"aria-label": "Least level", onchange: () => fill()}, LEVELS.map((l) => el("option", {value: l}, l === "FINE" ? "All levels" : `${l} and above`)));
  const text = el("input", {type: "search", placeholder: "Text", "aria-label": "Text", oninput: () => fill()});
  const follow = el("input", {type: "checkbox", checked: true});
  const body = el("tbody", {});
  const count = el("span", {class: "muted small"});
  const scroll = el("div", {class: "scroll", tabindex: 0}, el("table", {class: "log"}, el("thead", {}, el("tr", {}, ["Time", "Log", "Level", "Message"].map((h) => el("th", {}, h)))), body));
  main.append(panel("Log", [count, which, level, text, el("label", {class: "check"}, follow, "Follow")], scroll));

  const shown = (e) => (which.value === "" || e.log === which.value) && LEVELS.indexOf(e.level) >= LEVELS.indexOf(level.value)
    && e.message.toLowerCase().includes(text.value.trim().toLowerCase());
  const line = (e) => el("tr", {class: e.level}, el("td", {}, e.time), el("td", {}, e.log), el("td", {}, e.level), el("td", {}, e.message));

  function logs() {
    const names = [...new Set(desk.log.map((e) => e.log))];
    if (which.options.length === names.length + 1) return;
    const before = which.value;
    which.replaceChildren(el("option", {value: ""}, "All logs"), ...names.map((n) => el("option", {value: n}, n)));
    which.value = before;
  }
  function fill() {
    logs();
    body.replaceChildren(...desk.log.filter(shown).map(line));
    settle();
  }
  function settle() {
    while (body.children.length > 2000) body.firstChild.remove();
    count.textContent = `${body.children.length} of ${desk.log.length} entries`;
    if (follow.checked) scroll.scrollTop = scroll.scrollHeight;
  }
  desk.on("log", signal, (entries) => {
    if (desk.log.length === entries.length) { fill(); return; }
    logs();
    body.append(...entries.filter(shown).map(line));
    settle();
  });
  fill();
  desk.watch();
}

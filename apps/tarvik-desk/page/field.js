/// One setting as a row: control, unit, range, default and what it does.

import {el} from "/dom.js";
import {desk} from "/desk.js";

/// `send(name, value)` may throw an Error whose sentence is then shown below.
export function settingRow(setting, send) {
  const id = `s-${setting.name}`;
  const fault = el("p", {class: "fault", role: "alert", hidden: true});
  const limits = el("p", {class: "limits"});
  const reset = el("button", {type: "button", class: "quiet", onclick: () => put(current.default)}, "Default");
  let current = setting;
  const control = makeControl(setting, id, put);
  const element = el("div", {class: "setting", "data-name": setting.name},
    el("label", {for: id}, setting.title, el("span", {class: "name"}, setting.name)),
    el("div", {class: "row"}, control.element, setting.unit && setting.kind !== "yesno" && !control.options ? el("span", {class: "muted small"}, setting.unit) : null),
    el("div", {class: "row"}, limits, reset), el("p", {class: "about", id: `${id}-about`}, setting.about), fault);
  control.element.setAttribute("aria-describedby", `${id}-about`);

  async function put(value) {
    fault.hidden = true;
    try {
      await send(setting.name, value);
    } catch (error) {
      fault.textContent = error.message;
      fault.hidden = false;
    }
    control.element.setAttribute("aria-invalid", String(!fault.hidden));
    if (fault.hidden) read(current);
  }

  function read(fresh) {
    current = fresh;
    if (document.activeElement !== control.element || control.options || setting.kind === "yesno") control.set(fresh.value);
    const range = "least" in fresh && !control.options ? `${short(fresh.least)} to ${short(fresh.most)}` : "";
    const pixels = inPixels(fresh);
    limits.textContent = [range, pixels].filter(Boolean).join(" · ");
    reset.hidden = same(fresh.value, fresh.default);
    reset.textContent = `Default: ${text(fresh.default)}`;
    element.classList.toggle("changed", !reset.hidden);
  }
  read(setting);
  return {element, read, name: setting.name};
}

function makeControl(setting, id, put) {
  const options = setting.name === "camera.TriggerMode" ? [[0, "internal"], [1, "external, input E0"]]
    : setting.choices?.map((c) => [c, c]);
  if (options) {
    const element = el("select", {id, onchange: () => put(options[element.selectedIndex][0])},
      options.map(([, label]) => el("option", {}, label)));
    return {element, options, set: (v) => { element.selectedIndex = options.findIndex((o) => o[0] === v); }};
  }
  if (setting.kind === "yesno") {
    const element = el("input", {id, type: "checkbox", onchange: () => put(element.checked)});
    return {element, set: (v) => { element.checked = v; }};
  }
  if (setting.kind === "text") {
    const element = el("input", {id, type: "text", onchange: () => put(element.value)});
    return {element, set: (v) => { element.value = v; }};
  }
  let last = setting.value;
  const element = el("input", {id, type: "number", step: setting.kind === "whole" ? 1 : "any", onchange: () => {
    if (element.value === "") element.value = last;
    else put(Number(element.value));
  }});
  return {element, set: (v) => { element.value = last = v; }};
}

/// Lengths are easier to imagine in pixels.
function inPixels(setting) {
  if (!setting.unit.startsWith("half image widths") || !desk.state.width) return "";
  return `${(setting.value * desk.state.width / 2).toFixed(1)} px`;
}

const same = (a, b) => typeof a === "number" && typeof b === "number" ? Math.abs(a - b) < 1e-9 : a === b;
const short = (n) => Math.abs(n) >= 1e4 ? Math.round(n).toLocaleString("en").replaceAll(",", "\u2009") : String(Number(n.toFixed(5)));
const text = (v) => v === true ? "on" : v === false ? "off" : String(v);

/// Live pictures with what was found, and the objects as a table.

import {download, el, fixed, panel, percent} from "/dom.js";
import {colourOf, desk} from "/desk.js";
import {OVERLAYS, Scene, pictureChoice} from "/scene.js";

export function live(main, signal) {
  const scene = new Scene();
  let paused = false, step = false, described = 0, shown = [];

  const wish = () => ({pictures: [scene.kind], results: true});
  const kinds = () => desk.state.colour ? ["original", "binary", "hue", "saturation", "value"] : ["original", "binary"];
  const choiceBox = el("div", {});
  function choice() { choiceBox.replaceChildren(pictureChoice(scene, kinds(), () => { if (!paused) desk.watch(wish()); })); }

  const pauseButton = el("button", {type: "button", "aria-pressed": "false", onclick: () => pause(!paused)}, "Pause");
  const stepButton = el("button", {type: "button", disabled: true, onclick: () => { step = true; desk.watch(wish()); }}, "Step");
  function pause(on) {
    paused = on;
    pauseButton.setAttribute("aria-pressed", String(on));
    pauseButton.textContent = on ? "Go on" : "Pause";
    stepButton.disabled = !on;
    scene.note(on ? "Paused" : "");
    desk.watch(on ? {} : wish());
  }
  const save = el("button", {type: "button", onclick: () => scene.canvas.toBlob((blob) => {
    const url = URL.createObjectURL(blob);
    download(`tarvik-${scene.frame?.image ?? 0}.png`, url);
    setTimeout(() => URL.revokeObjectURL(url), 10000);
  })}, "Save picture");

  const rate = tile("Images"), analysis = tile("Analysis"), matching = tile("Matching"),
    breakup = tile("Breakup"), second = tile("Second pass");
  const tiles = el("dl", {class: "tiles"}, [rate, analysis, matching, breakup, second].map((t) => t.element));

  const body = el("tbody", {});
  const table = el("table", {class: "objects"}, el("caption", {class: "visually-hidden"}, "Objects in view"),
    el("thead", {}, el("tr", {}, el("th", {}, "Object"), el("th", {class: "num"}, "X"), el("th", {class: "num"}, "Y"),
      el("th", {class: "num"}, "Turned"), el("th", {}, "Confidence"))), body);
  const count = el("span", {class: "muted small"});

  // The table comes last: it grows and shrinks with the objects in view, and no image shall move what can be clicked.
  main.append(el("div", {class: "split"},
    el("div", {class: "stack"},
      panel("Live", [choiceBox, pauseButton, stepButton, save], scene.element),
      el("section", {class: "panel", "aria-label": "Times"}, tiles)),
    el("div", {class: "stack"},
      panel("Drawn in", null, el("div", {class: "body row"}, overlayChecks(scene))),
      panel("Objects", count, el("div", {class: "scroll"}, table)))));

  desk.on("frame", signal, (frame) => {
    if (paused && !step) return;
    if (step) { step = false; desk.watch({}); }
    scene.show(frame);
    rows(frame);
    const t = frame.times;
    analysis.set(ms(t.analysisUs), "ms");
    matching.set(ms(t.matchingUs), "ms");
    breakup.set(ms(t.breakupUs), "ms");
    second.set(ms(t.reanalysisUs), "ms");
    if (performance.now() - described > 1000) { described = performance.now(); scene.describe(); }
  });
  function state() {
    rate.set(fixed(desk.state.imagesPerSecond ?? 0, 1), "/s");
    if (choiceBox.querySelectorAll("button").length !== kinds().length) choice();
    if (desk.state.phase !== "connected") scene.say(desk.state.text || "Connecting \u2026");
    else if (!desk.state.imagesArrive) scene.say("Connected, but no images come. Is the camera waiting for a trigger?");
    else if (scene.frame) scene.say("");
  }
  desk.on("state", signal, state);
  desk.on("settings", signal, () => scene.draw());
  choice();
  state();
  desk.watch(wish());
  signal.addEventListener("abort", () => { scene.frame = null; });

  /// Rows are kept from image to image; what changes is their text.
  function rows(frame) {
    const objects = frame.objects;
    while (shown.length < objects.length) { const r = row(); shown.push(r); body.append(r.element); }
    while (shown.length > objects.length) shown.pop().element.remove();
    objects.forEach((o, i) => shown[i].set(o));
    const known = objects.filter((o) => o.template !== null).length;
    count.textContent = `${objects.length} objects, ${known} recognised`;
  }
}

function row() {
  const swatch = el("span", {class: "swatch"}), name = el("span", {}), tag = el("span", {class: "muted small"});
  const [x, y, turn] = [1, 2, 3].map(() => el("td", {class: "num"}));
  const bar = el("i", {}), value = el("span", {class: "num"});
  const element = el("tr", {}, el("td", {}, el("span", {class: "nowrap"}, swatch, name), " ", tag), x, y, turn,
    el("td", {}, el("span", {class: "meter", "aria-hidden": "true"}, bar), value));
  return {element, set(o) {
    swatch.style.background = colourOf(o.template);
    name.textContent = o.template === null ? "?" : desk.nameOf(o.template);
    tag.textContent = `#${o.id}` + (o.clipped ? ", clipped" : "") + (o.cut ? ", cut apart" : "");
    x.textContent = fixed(o.position.x, 4);
    y.textContent = fixed(o.position.y, 4);
    turn.textContent = `${fixed(o.rotation, 1)}\u00b0`;
    bar.style.width = `${o.template === null ? 0 : o.confidence * 100}%`;
    value.textContent = o.template === null ? "\u2013" : percent(o.confidence + 1e-4);
  }};
}

export function overlayChecks(scene) {
  return OVERLAYS.map(([id, title]) => el("label", {class: "check"},
    el("input", {type: "checkbox", checked: scene.overlays.has(id), "data-overlay": id, onchange: (e) => {
      if (e.target.checked) scene.overlays.add(id); else scene.overlays.delete(id);
      localStorage.setItem("overlays", JSON.stringify([...scene.overlays]));
      scene.draw();
    }}), title));
}

function tile(title) {
  const value = el("span", {}, "\u2013"), unit = el("small", {});
  return {element: el("div", {}, el("dt", {}, title), el("dd", {}, value, " ", unit)),
    set(text, suffix) { value.textContent = text; unit.textContent = suffix; }};
}

const ms = (us) => fixed(us / 1000, 2);

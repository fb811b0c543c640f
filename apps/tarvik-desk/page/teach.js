/// Click a part, name it, see it recognised.

import {api, attempt, confirmDialog, el, fixed, panel, svg, toast} from "/dom.js";
import {colourOf, desk} from "/desk.js";
import {Scene, ring} from "/scene.js";

export function teach(main, signal) {
  const scene = new Scene();
  scene.element.classList.add("pick");
  scene.overlays.add("contours");
  let chosen = null, grip = null, held = false, tested = null;

  const resume = el("button", {type: "button", disabled: true, onclick: () => goOn()}, "Back to live");
  const objects = el("div", {class: "row", role: "group", "aria-label": "Objects in view"});
  const lesson = el("div", {});
  const list = el("ul", {class: "templates"});
  const capacity = el("span", {class: "muted small"});
  const file = el("input", {type: "file", accept: ".xml,application/xml", hidden: true, onchange: () => importFile()});
  const fits = el("div", {class: "scroll"}, el("p", {class: "empty"}, "Compares every template with every object in view, in both orientations."));

  main.append(el("div", {class: "split"},
    el("div", {class: "stack"},
      panel("Click the part to teach", resume, scene.element, el("div", {class: "body"}, objects)),
      panel("How well they fit", el("button", {type: "button", onclick: () => attempt(retest)}, "Retest"), fits)),
    el("div", {class: "stack"},
      lesson,
      panel("Templates", [capacity,
        el("a", {class: "button", href: "/api/database.xml", download: "tarvik-database.xml"}, "Export"),
        el("button", {type: "button", onclick: () => file.click()}, "Import"), file], list))));

  function goOn() {
    chosen = grip = null;
    held = false;
    scene.selected = null;
    resume.disabled = true;
    scene.note("");
    form();
    desk.watch({pictures: ["original"], results: true});
  }

  /// The picture stands still from the click on, so that the image on show is the one that the desk holds.
  async function choose(id) {
    const object = scene.frame.objects.find((o) => o.id === id), moving = !held;
    if (!object) {
      buttons();
      return toast(`Object #${id} has left the picture. Choose another.`, true);
    }
    held = true;
    chosen = object;
    grip = null;
    scene.selected = object.id;
    scene.note("Held");
    resume.disabled = false;
    scene.draw();
    buttons();
    form();
    const kept = !moving || await attempt(() => api("POST", `/api/images/${scene.frame.image}/hold`, {}));
    if (signal.aborted) return;
    if (!kept) goOn();
    else if (held) desk.watch({}); // the picture stays
  }

  scene.extra = (c, unit) => { if (grip) ring(c, grip, unit, "#ff6b9d"); };
  scene.canvas.addEventListener("click", (event) => {
    const p = scene.point(event);
    const object = scene.objectAt(p);
    if (chosen && object?.id === chosen.id) {
      grip = {x: Math.round(p.x * 10) / 10, y: Math.round(p.y * 10) / 10};
      scene.draw();
      gripText();
    } else if (object) {
      choose(object.id);
    }
  });

  function buttons() {
    const frame = scene.frame;
    objects.replaceChildren(...(frame?.objects ?? []).map((o) => el("button", {type: "button", class: "quiet",
      "aria-pressed": String(chosen?.id === o.id), onclick: () => choose(o.id)},
      el("span", {class: "swatch", color: colourOf(o.template)}),
      `#${o.id} ${o.template === null ? (o.clipped ? "clipped" : "unknown") : desk.nameOf(o.template)}`)));
  }

  let gripText = () => {};
  function form() {
    if (!chosen) {
      lesson.replaceChildren(panel("New template", null, el("p", {class: "empty"},
        "Click a part in the picture. The picture is then held, so take your time.")));
      return;
    }
    const known = chosen.template;
    const name = el("input", {type: "text", id: "name", maxlength: 40, autocomplete: "off", value: known === null ? "" : desk.nameOf(known)});
    const id = el("input", {type: "number", id: "id", min: 0, max: 32767, value: known ?? desk.nextId});
    const height = el("input", {type: "number", id: "height", step: "any", value: 10});
    const rotation = el("input", {type: "number", id: "rotation", step: "any", min: -360, max: 360, value: 0});
    const gripInfo = el("span", {class: "muted"});
    const gripReset = el("button", {type: "button", class: "quiet", onclick: () => { grip = null; scene.draw(); gripText(); }}, "Use the centre");
    gripText = () => {
      gripInfo.textContent = grip ? `${fixed(grip.x, 1)}, ${fixed(grip.y, 1)} px` : "the centre; click in the part to set another";
      gripReset.hidden = !grip;
    };
    gripText();
    const submit = async () => {
      const taken = desk.template(Number(id.value));
      if (taken && !await confirmDialog("Replace the template?",
        `Template ${taken.id}${taken.name ? ` (${taken.name})` : ""} has this id. It is lost, but Undo brings it back.`, "Replace")) return;
      const request = {image: scene.frame.image, object: chosen.id, id: Number(id.value), name: name.value.trim(),
        height: Number(height.value), rotation: Number(rotation.value), replace: Boolean(taken)};
      if (grip) request.grip = grip;
      const taught = await attempt(() => api("POST", "/api/templates", request),
        (t) => `${t.name || `Template ${t.id}`} has been taught.`);
      if (taught) goOn();
    };
    lesson.replaceChildren(el("form", {onsubmit: (e) => { e.preventDefault(); submit(); }},
      panel(`New template from object #${chosen.id}`, null, el("div", {class: "body form"},
        el("label", {for: "name"}, "Name"), name,
        el("label", {for: "id"}, "Id"), el("div", {class: "row"}, id, el("span", {class: "muted small"}, "what results report")),
        el("span", {class: "muted"}, "Grip point"), el("div", {class: "row"}, gripInfo, gripReset),
        el("label", {for: "height"}, "Height"), el("div", {class: "row"}, height, el("span", {class: "muted small"}, "passed on")),
        el("label", {for: "rotation"}, "Rotation"), el("div", {class: "row"}, rotation, el("span", {class: "muted small"}, "degrees, added to results")),
        chosen.clipped ? el("p", {class: "wide warn"}, "It reaches into the clipping frame and cannot be taught there. Move it inwards.") : null,
        chosen.cut ? el("p", {class: "wide warn"}, "It has been cut off another part. Better show it alone.") : null,
        el("div", {class: "wide row"}, el("button", {class: "primary", type: "submit"}, "Teach"),
          el("button", {type: "button", onclick: () => goOn()}, "Cancel"))))));
    name.focus();
    name.select();
  }

  function templates() {
    capacity.textContent = `${desk.templates.length} of ${desk.capacity}`;
    list.replaceChildren(...desk.templates.map((t) => el("li", {"data-template": t.id}, thumbnail(t),
      el("div", {}, el("b", {}, t.name || "(no name)"),
        el("p", {class: "muted small"}, `Id ${t.id} · ${t.holes.length} ${t.holes.length === 1 ? "hole" : "holes"}${t.rotation ? ` · turned ${fixed(t.rotation, 1)}\u00b0` : ""}`)),
      el("div", {class: "row"},
        el("button", {type: "button", class: "quiet", "aria-label": `Edit ${t.name || t.id}`, onclick: () => edit(t)}, "Edit"),
        el("button", {type: "button", class: "quiet", "aria-label": `Delete ${t.name || t.id}`, onclick: () => remove(t)}, "Delete")))));
    if (!desk.templates.length) list.append(el("li", {class: "empty"}, "None yet. Click a part in the picture."));
    scene.draw();
  }

  async function remove(t) {
    if (await confirmDialog("Delete the template?", `${t.name || `Template ${t.id}`} will no longer be recognised. Undo brings it back.`, "Delete")) {
      await attempt(() => api("DELETE", `/api/templates/${t.id}`), "Deleted.");
    }
  }

  async function importFile() {
    const text = await file.files[0]?.text();
    file.value = "";
    if (text !== undefined && (!desk.templates.length || await confirmDialog("Import the database?",
      "All templates and the comparator's settings are replaced. Undo brings them back.", "Import"))) {
      await attempt(() => api("PUT", "/api/database.xml", text), (r) => `Imported, with ${r.templates.length} templates.`);
    }
  }

  async function retest() {
    tested = await api("GET", held ? `/api/retest?image=${scene.frame.image}` : "/api/retest");
    const rows = tested.objects.flatMap((o) => o.fits.map((f) => ({...f, object: o.object, clipped: o.clipped})));
    rows.sort((a, b) => a.template - b.template || b.margin - a.margin);
    if (!rows.length) {
      fits.replaceChildren(el("p", {class: "empty"}, "There is nothing to compare: no templates, or no objects."));
      return;
    }
    fits.replaceChildren(el("table", {}, el("thead", {}, el("tr", {}, ...["Template", "Object"].map((h) => el("th", {}, h)),
      ...["Error straight", "Error turned"].map((h) => el("th", {class: "num"}, h)), el("th", {}, "Holes"), el("th", {}, `Left of ${tested.maxError}`))),
    el("tbody", {}, rows.map((f) => el("tr", {}, el("td", {}, el("span", {class: "swatch", color: colourOf(f.template)}), desk.nameOf(f.template)),
      el("td", {}, `#${f.object}${f.clipped ? " clipped" : ""}`),
      el("td", {class: "num"}, fixed(f.straight, 5)), el("td", {class: "num"}, fixed(f.turned, 5)),
      el("td", {class: f.holesAgree ? "" : "muted"}, f.holesAgree ? "agree" : "differ"),
      el("td", {class: f.match ? "good" : "muted"}, f.match ? `fits, ${fixed(f.margin * 100, 0)} % left` : f.margin > 0 ? "no: holes differ" : "no"))))));
  }

  desk.on("frame", signal, (frame) => { if (!held) { scene.show(frame); throttledButtons(); } });
  desk.on("templates", signal, templates);
  desk.on("state", signal, () => { if (desk.state.phase !== "connected" && !held) scene.say(desk.state.text || "Connecting \u2026"); });
  let lastButtons = 0;
  function throttledButtons() {
    if (performance.now() - lastButtons < 700 || objects.contains(document.activeElement) || objects.matches(":hover")) return;
    lastButtons = performance.now();
    buttons();
  }
  templates();
  goOn();
}

/// An outline in the part's own axes; the grip point as a cross.
export function outlineShape(t) {
  const all = [t.outline, ...t.holes];
  const xs = t.outline.filter((_, i) => i % 2 === 0), ys = t.outline.filter((_, i) => i % 2 === 1);
  const [x0, x1, y0, y1] = [Math.min(...xs), Math.max(...xs), Math.min(...ys), Math.max(...ys)];
  const margin = Math.max(x1 - x0, y1 - y0) * .1 || .01;
  const path = all.map((o) => {
    let d = "";
    for (let i = 0; i < o.length; i += 2) d += `${i ? "L" : "M"}${o[i]} ${o[i + 1]}`;
    return `${d}Z`;
  }).join("");
  return {path, box: `${x0 - margin} ${y0 - margin} ${x1 - x0 + 2 * margin} ${y1 - y0 + 2 * margin}`, arm: margin * .7};
}

function thumbnail(t, grip = t.grip, className = "thumb") {
  const {path, box, arm} = outlineShape(t);
  const size = className === "thumb" ? .8 : .5;
  return svg("svg", {class: className, viewBox: box, role: "img", "aria-label": `Outline of ${t.name || `template ${t.id}`}`},
    svg("path", {class: "outline", d: path}),
    svg("path", {class: "gripmark", d: `M${grip.x - arm * size} ${grip.y}h${2 * arm * size}M${grip.x} ${grip.y - arm * size}v${2 * arm * size}`}));
}

function edit(t) {
  let grip = {...t.grip};
  const number = (id, value) => el("input", {type: "number", id, step: "any", value});
  const name = el("input", {type: "text", id: "e-name", maxlength: 40, value: t.name});
  const id = el("input", {type: "number", id: "e-id", min: 0, max: 32767, value: t.id});
  const numbers = {height: number("e-height", t.height), rotation: number("e-rotation", t.rotation),
    gripHeight: number("e-gheight", t.gripHeight), gripRotation: number("e-grotation", t.gripRotation)};
  const holes = el("input", {type: "checkbox", checked: t.considerHoles});
  const picture = el("div", {});
  const info = el("span", {class: "muted small"});
  function draw() {
    const shape = thumbnail(t, grip, "big");
    shape.addEventListener("click", (event) => {
      const p = new DOMPoint(event.clientX, event.clientY).matrixTransform(shape.getScreenCTM().inverse());
      grip = {x: Math.round(p.x * 1e4) / 1e4, y: Math.round(p.y * 1e4) / 1e4};
      draw();
    });
    picture.replaceChildren(shape);
    info.textContent = `Grip point ${fixed(grip.x, 4)}, ${fixed(grip.y, 4)} half image widths from the centre; click to set it.`;
  }
  draw();
  const dialog = el("dialog", {"aria-label": `Edit ${t.name || t.id}`}, el("form", {method: "dialog"},
    el("header", {}, el("h2", {}, `Template ${t.id}`)),
    el("div", {class: "body"}, picture, info, el("div", {class: "form"},
      el("label", {for: "e-name"}, "Name"), name, el("label", {for: "e-id"}, "Id"), id,
      el("label", {for: "e-rotation"}, "Rotation, degrees"), numbers.rotation,
      el("label", {for: "e-height"}, "Height"), numbers.height,
      el("label", {for: "e-gheight"}, "Grip height"), numbers.gripHeight,
      el("label", {for: "e-grotation"}, "Grip rotation, degrees"), numbers.gripRotation,
      el("label", {class: "check wide"}, holes, "Compare the holes"))),
    el("footer", {}, el("button", {value: "no", formnovalidate: true}, "Cancel"), el("button", {value: "yes", class: "primary"}, "Save"))));
  dialog.addEventListener("close", () => {
    dialog.remove();
    if (dialog.returnValue !== "yes") return;
    const request = {name: name.value.trim(), considerHoles: holes.checked};
    if (Number(id.value) !== t.id) request.id = Number(id.value);
    if (grip.x !== t.grip.x || grip.y !== t.grip.y) request.grip = grip;
    for (const [key, input] of Object.entries(numbers)) if (Number(input.value) !== t[key]) request[key] = Number(input.value);
    attempt(() => api("PATCH", `/api/templates/${t.id}`, request), "Saved.");
  });
  document.body.append(dialog);
  dialog.showModal();
}

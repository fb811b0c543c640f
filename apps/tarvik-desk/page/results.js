/// What has been recognised: the latest images, counts, and confidence over time.

import {api, attempt, el, fixed, panel, percent} from "/dom.js";
import {colourOf, desk} from "/desk.js";
import {Scene} from "/scene.js";

export function results(main, signal) {
  const strip = el("div", {class: "strip", role: "group", "aria-label": "Latest images"});
  const scene = new Scene({label: "Chosen image"});
  scene.say("Choose an image above.");
  const counts = el("div", {});
  const total = el("span", {class: "muted small"});
  const chart = el("canvas", {class: "chart", role: "img", "aria-label": "Confidence over the last ten minutes, one line per template"});
  const legend = el("div", {class: "legend body"});
  let data = null, chosen = null;

  main.append(el("div", {class: "stack"},
    panel("Latest images", el("span", {class: "muted small"}, "one every half second while somebody looks"), strip),
    el("div", {class: "split"}, panel("Image", null, scene.element),
      el("div", {class: "stack"},
        panel("Recognised", [el("a", {class: "button", href: "/api/results.csv", download: "tarvik-results.csv"}, "Export CSV"),
          el("button", {type: "button", onclick: () => attempt(async () => { await api("DELETE", "/api/results"); await load(); }, "Counting from 0.")}, "Clear")], counts, el("p", {class: "body"}, total)),
        panel("Confidence", null, chart, legend)))));

  async function load() {
    try {
      data = await api("GET", "/api/results");
    } catch { return; }
    if (signal.aborted) return;
    thumbnails();
    table();
    drawChart();
  }

  function thumbnails() {
    const present = new Map([...strip.children].map((b) => [b.dataset.image, b]));
    strip.replaceChildren(...data.strip.map((s) => present.get(String(s.image)) ?? el("button", {type: "button", "data-image": s.image, "aria-pressed": String(chosen === s.image), onclick: () => choose(s.image)},
      el("img", {src: `/api/pictures/original.jpg?image=${s.image}`, alt: `Image ${s.image}`, width: 120, height: 90}),
      el("span", {}, `${s.recognised} of ${s.objects} · ${new Date(s.time).toLocaleTimeString("en-GB")}`))));
    if (!data.strip.length) strip.append(el("p", {class: "hint"}, "None yet."));
    if (chosen === null && data.strip.length) choose(data.strip[0].image);
  }

  async function choose(number) {
    chosen = number;
    for (const b of strip.children) b.setAttribute?.("aria-pressed", String(b.dataset.image === String(number)));
    try {
      await api("POST", `/api/images/${number}/hold`, {});
      const [frame, picture] = await Promise.all([api("GET", `/api/image?image=${number}`),
        fetch(`/api/pictures/original.jpg?image=${number}`).then((r) => r.blob()).then(createImageBitmap)]);
      scene.show({...frame, pictures: {original: picture}});
      scene.describe();
    } catch (error) {
      scene.say(error.message);
    }
  }

  function table() {
    const all = data.templates.reduce((sum, t) => sum + t.count, 0) || 1;
    total.textContent = `In ${data.images} images since the desk started or was cleared.`;
    counts.replaceChildren(el("table", {}, el("thead", {}, el("tr", {}, el("th", {}, "Template"), el("th", {class: "num"}, "Objects"), el("th", {}, "Share"), el("th", {class: "num"}, "Confidence"))),
      el("tbody", {}, data.templates.map((t) => el("tr", {}, el("td", {}, el("span", {class: "swatch", color: colourOf(t.template)}), t.template === null ? "Unknown" : desk.nameOf(t.template)),
        el("td", {class: "num"}, t.count), el("td", {}, bar(t.count / all)), el("td", {class: "num"}, t.template === null ? "\u2013" : percent(t.confidence + 1e-4)))))));
  }

  function bar(share) {
    const fill = el("i", {});
    fill.style.width = `${share * 100}%`;
    return el("span", {}, el("span", {class: "meter", "aria-hidden": "true"}, fill), `${fixed(share * 100, 0)} %`);
  }

  function drawChart() {
    const ratio = devicePixelRatio;
    const width = chart.width = Math.max(1, chart.clientWidth * ratio), height = chart.height = Math.max(1, chart.clientHeight * ratio);
    const c = chart.getContext("2d");
    const style = getComputedStyle(document.documentElement);
    const [left, bottom, top] = [44 * ratio, 24 * ratio, 10 * ratio];
    c.font = `${11 * ratio}px system-ui, sans-serif`;
    c.fillStyle = style.getPropertyValue("--muted");
    c.strokeStyle = style.getPropertyValue("--line");
    c.lineWidth = ratio;
    for (const part of [0, .25, .5, .75, 1]) {
      const y = top + (1 - part) * (height - top - bottom);
      c.beginPath(); c.moveTo(left, y); c.lineTo(width - 8 * ratio, y); c.stroke();
      c.textAlign = "right"; c.textBaseline = "middle";
      c.fillText(`${part * 100} %`, left - 6 * ratio, y);
    }
    const seconds = data.seconds;
    if (seconds.length < 2) { legend.replaceChildren(el("span", {class: "hint"}, "Comes with the first seconds.")); return; }
    const [from, to] = [seconds[0].time, seconds.at(-1).time];
    const x = (t) => left + (t - from) / Math.max(1, to - from) * (width - left - 8 * ratio);
    c.textBaseline = "top";
    for (const t of [from, (from + to) / 2, to]) {
      c.textAlign = t === from ? "left" : t === to ? "right" : "center";
      c.fillText(new Date(t * 1000).toLocaleTimeString("en-GB"), x(t), height - bottom + 6 * ratio);
    }
    const ids = data.templates.map((t) => t.template).filter((id) => id !== null);
    c.lineWidth = 2 * ratio;
    c.lineJoin = "round";
    for (const id of ids) {
      c.strokeStyle = colourOf(id);
      c.beginPath();
      let pen = false;
      for (const s of seconds) {
        const t = s.templates.find((u) => u.template === id);
        if (!t) { pen = false; continue; }
        const y = top + (1 - t.confidence) * (height - top - bottom);
        if (pen) c.lineTo(x(s.time), y); else c.moveTo(x(s.time), y);
        pen = true;
      }
      c.stroke();
    }
    legend.replaceChildren(...ids.map((id) => el("span", {}, el("span", {class: "swatch", color: colourOf(id)}), desk.nameOf(id))));
  }

  const timer = setInterval(load, 1000);
  signal.addEventListener("abort", () => clearInterval(timer));
  desk.watch({pictures: ["original"]});
  load();
}

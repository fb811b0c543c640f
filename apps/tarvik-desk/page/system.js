/// The camera process itself: version, clock, configuration file, network settings, end.

import {api, attempt, confirmDialog, el, panel} from "/dom.js";
import {desk} from "/desk.js";
import {settingRow} from "/field.js";

const GROUPS = [["udp", "Results by UDP"], ["telnet", "Telnet"], ["server", "Server"], ["logging", "Logging"]];

export function system(main, signal) {
  const facts = el("dl", {class: "facts-list body"});
  const clock = el("p", {class: "muted"});
  const outcome = el("p", {class: "small muted", role: "status"});
  const network = el("div", {class: "stack"});
  const pending = el("div", {class: "body"});

  main.append(el("div", {class: "split even"},
    el("div", {class: "stack"},
      panel("Camera", null, facts),
      panel("Clock", el("button", {type: "button", id: "set-clock", onclick: setClock}, "Set to this computer's time"), el("div", {class: "body stack"}, clock, outcome)),
      panel("Configuration", el("button", {type: "button", id: "save", class: "primary", onclick: () => attempt(() => api("POST", "/api/system/save", {}), "The configuration has been saved.")}, "Save now"),
        el("p", {class: "body hint"}, "The camera keeps its configuration over the next start. It also saves by itself when this desk leaves.")),
      panel("Stop the camera process", el("button", {type: "button", class: "danger", id: "shutdown", onclick: stop}, "Shut down"),
        el("p", {class: "body hint"}, "Recognition ends; the robot cell gets no more results until somebody starts the process again."))),
    el("div", {class: "stack"}, panel("Network and process", null, pending), network)));

  function put(name, value) { return value === undefined ? null : [el("dt", {}, name), el("dd", {}, String(value))]; }
  function showFacts() {
    const s = desk.state;
    facts.replaceChildren(...[put("State", s.phase === "connected" ? "connected" : s.text || s.phase), put("Address", s.camera), put("Version", s.version), put("Model", s.model),
      put("Picture", s.width ? `${s.width} × ${s.height} pixels, ${s.colour ? "colour" : "grey"}` : undefined), put("Images since the desk started", s.images), put("Browsers looking", s.viewers)].flat().filter(Boolean));
    const now = new Date();
    clock.textContent = `This computer: ${now.toLocaleDateString("en-GB")} ${now.toLocaleTimeString("en-GB")}`;
  }

  async function setClock() {
    const t = new Date(Date.now() - new Date().getTimezoneOffset() * 60000).toISOString().slice(0, 19);
    const before = desk.log.at(-1)?.number ?? 0;
    if (!await attempt(() => api("POST", "/api/system/clock", {time: t}))) return;
    outcome.textContent = "Sent; waiting for the camera's word \u2026";
    const heard = (entries) => {
      const word = entries.find((e) => e.number > before && e.log === "Server" && /system time/i.test(e.message));
      if (word) outcome.textContent = desk.log.filter((e) => e.number > before && e.log === "Server").map((e) => e.message).join(" ");
    };
    desk.on("log", signal, heard);
    heard(desk.log);
  }

  async function stop() {
    if (await confirmDialog("Shut down the camera process?", "Recognition ends and no results are sent until the process is started again on the camera.", "Shut down")) {
      await attempt(() => api("POST", "/api/system/shutdown", {confirm: true}), "The camera process is stopping.");
    }
  }

  async function load() {
    const answer = await attempt(() => api("GET", "/api/system"));
    if (!answer || signal.aborted) return;
    const waiting = Object.keys(answer.pending);
    const file = answer.file !== null;
    pending.replaceChildren(
      el("p", {class: "hint"}, file
        ? `These settings stand in ${answer.file}. The process reads them when it starts, so changes wait here, are written when it has been shut down, and act from its next start on.`
        : "The connection does not carry these settings. Start the desk on the camera's machine with --config FILE to change them here, or there: tarvik-lab config set --file config.xml udp.AutoDistribute true"),
      waiting.length ? el("p", {class: "warn"}, `Waiting for the next shutdown: ${waiting.map((n) => `${n} = ${answer.pending[n]}`).join(", ")}`) : "");
    network.hidden = !file;
    if (!file) return;
    const send = async (name, value) => { await api("PATCH", "/api/system", {[name]: value}); };
    network.replaceChildren(...GROUPS.map(([group, title]) => panel(title, null,
      answer.settings.filter((s) => s.group === group).map((s) => settingRow({...s, value: answer.pending[s.name] ?? s.value}, send).element))));
  }

  desk.on("state", signal, showFacts);
  desk.on("settings", signal, load);
  const timer = setInterval(showFacts, 1000);
  signal.addEventListener("abort", () => clearInterval(timer));
  showFacts();
  load();
  desk.watch();
}

"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const byId = (id) => document.getElementById(id);
  const search = byId("search"), unmapped = byId("unmapped"), main = byId("rows");

  // All text goes in as text, never as markup.
  const make = (tag, className, ...inside) => {
    const element = document.createElement(tag);
    if (className) element.className = className;
    element.append(...inside.filter((part) => part !== ""));
    return element;
  };
  const link = (path, ...inside) => {
    const element = make("a", "", ...inside);
    element.href = "#" + path;
    element.title = path;
    return element;
  };
  const under = (path, base) => base && path.startsWith(base + "/") ? path.slice(base.length + 1) : path;

  // Functions and values stand between backquotes in the notes.
  const noteText = (text) => text.split("`").map((part, i) => i % 2 ? make("code", "", part) : part);
  const pathText = (path) => {
    const end = path.lastIndexOf("/") + 1;
    return [path.slice(0, end), make("b", "", path.slice(end))];
  };

  // What an edit writes, a line an outcome.
  const outcomeLines = (outcomes, base, other) => outcomes.map((outcome) => {
    const line = make("div");
    if (outcome.values) {
      line.append(make("span", "when", outcome.example ? "such as " : ""));
      outcome.values.forEach((value, i) => line.append(i ? ", " : "", make("code", "when", value)));
      line.append(make("span", "when", ": "));
    }
    if (outcome.refused || !outcome.effects) {
      line.append(make("i", "", outcome.refused ? "refused" : "nothing"));
      return line;
    }
    outcome.effects.forEach((effect, i) => {
      const name = (effect.removed ? "no " : "") + under(effect.path, base);
      line.append(i ? ", " : "", make("code", "", link(effect.path, name),
        effect.value === undefined ? "" : " = " + effect.value));
      if (other) line.append(" ", make("span", "also", link(other + effect.path.slice(base.length), "VRF")));
    });
    return line;
  });
  // The same path in a VRF is a link behind it.
  const pathLines = (paths, base, vrf) => {
    const twin = (path) => base && vrf && base !== vrf && path.startsWith(base + "/") ? vrf + path.slice(base.length) : "";
    const twins = new Set(paths.map(twin).filter((path) => paths.includes(path)));
    return paths.filter((path) => !twins.has(path)).map((path) => {
      const line = make("div", "", make("code", "", link(path, under(path, base))));
      if (twins.has(twin(path))) line.append(" ", make("span", "also", link(twin(path), "VRF")));
      return line;
    });
  };

  const shape = (outcomes, base) => JSON.stringify(outcomes, (key, value) => key === "path" ? under(value, base) : value);
  const effectPaths = (outcomes) => (outcomes || []).flatMap((outcome) => (outcome.effects || []).map((e) => e.path));

  const becomes = (row, below) => {
    const list = make("dl");
    const put = (name, lines) => list.append(make("dt", "", name), make("dd", "", ...lines));
    const written = effectPaths(row.default);
    const all = new Set([...written, ...effectPaths(row.vrf)]);
    const sameRead = row.read && row.read.length === all.size && row.read.every((path) => all.has(path));
    const edit = sameRead ? "edit, read" : "edit";
    if (row.default && row.vrf && shape(row.default, below.default) === shape(row.vrf, below.vrf)) {
      const prefixed = written.every((path) => below.default && path.startsWith(below.default + "/"));
      put(edit, outcomeLines(row.default, below.default, prefixed && below.vrf !== below.default ? below.vrf : ""));
    } else {
      if (row.default) put(row.vrf ? "default" : edit, outcomeLines(row.default, below.default));
      if (row.vrf) put("VRF", outcomeLines(row.vrf, below.vrf));
    }
    if (row.becomes) put("becomes", pathLines(row.becomes, below.becomes));
    if (row.read && !(sameRead && list.firstChild && list.firstChild.textContent === edit)) {
      put("read from", row.state ? pathLines(row.read, below.read) : pathLines(row.read, below.default, below.vrf));
    }
    if (row.from) put("from", pathLines(row.from, below.from));
    return list;
  };

  // A row's element, and the text that a search goes through.
  const makeRow = (row, section, below) => {
    const mapped = Boolean(row.served || row.from);
    const element = make("div", mapped ? "row" : "row unmapped");
    element.id = row.path;
    const own = row.path === section.list ? row.path.slice(row.path.lastIndexOf("/") + 1) : under(row.path, section.list);
    const about = make("div", "about", row.type || "");
    if (row.state) about.append(" ", make("span", "state", "state"));
    if (row.served && row.served !== "key") about.append(" · ", row.served, " ", make("code", "", row.function || ""));
    if (row.absent) about.append(" · not in the models in use");
    if (row.published) about.append(" published, not in the models in use");
    const anchor = link(row.path, ...pathText(own));
    anchor.className = "path";
    const right = make("div", "", becomes(row, below));
    if (!mapped) right.append(make("span", "about", "not mapped"));
    for (const text of [row.hint, ...(row.notes || []).map((i) => data.notes[i])]) {
      if (text) right.append(make("p", "note", ...noteText(text)));
    }
    element.append(make("div", "", anchor, about), right);
    const linked = [...effectPaths(row.default), ...effectPaths(row.vrf), ...(row.becomes || []), ...(row.read || []),
      ...(row.from || [])];
    const text = [row.path, row.function, row.served, row.type, row.hint, mapped ? "" : "not mapped",
      ...(row.notes || []).map((i) => data.notes[i]), ...linked].join("\n").toLowerCase();
    return { element, text, mapped };
  };

  const makeView = (sections) => sections.map((section) => {
    const element = make("section", "", make("h2", "", section.list));
    const below = section.below || {};
    const named = [["default", "default"], ["vrf", "VRF"], ["becomes", "becomes"], ["read", "state"], ["from", "from"]];
    for (const [key, name] of named.filter(([key]) => below[key])) {
      element.append(make("p", "below", make("span", "", name), " below ", make("code", "", below[key])));
    }
    const rows = section.rows.map((row) => makeRow(row, section, below));
    element.append(...rows.map((row) => row.element));
    return { element, rows };
  });

  // The other direction's rows are made when they are first wanted.
  const views = {};
  let view = "", shown;
  const show = (name) => {
    if (name === view) return;
    view = name;
    shown = views[name] = views[name] || makeView(data[name]);
    main.replaceChildren(...shown.map((section) => section.element));
    for (const button of document.querySelectorAll("[data-view]")) {
      button.setAttribute("aria-pressed", button.dataset.view === name);
    }
  };

  const filter = () => {
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let count = 0, all = 0;
    for (const section of shown) {
      let any = false;
      for (const row of section.rows) {
        const fits = (row.mapped || unmapped.checked) && words.every((word) => row.text.includes(word));
        row.element.hidden = !fits;
        any = any || fits;
        count += fits;
      }
      all += section.rows.length;
      section.element.hidden = !any;
    }
    byId("count").textContent = `${count.toLocaleString("en")} of ${all.toLocaleString("en")}`;
    byId("none").hidden = count > 0;
    mark(words, count);
  };

  // Where the words stand, unless they are nearly everywhere.
  const mark = (words, count) => {
    if (!window.Highlight) return;
    const found = new Highlight();
    if (words.length && count <= 400) {
      const walker = document.createTreeWalker(main, NodeFilter.SHOW_ALL,
        (node) => node.hidden ? NodeFilter.FILTER_REJECT : NodeFilter.FILTER_ACCEPT);
      for (let node = walker.nextNode(); node; node = walker.nextNode()) {
        const text = node.nodeType === Node.TEXT_NODE ? node.data.toLowerCase() : "";
        for (const word of words) {
          for (let at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + word.length)) {
            found.add(new StaticRange({ startContainer: node, startOffset: at, endContainer: node,
              endOffset: at + word.length }));
          }
        }
      }
    }
    CSS.highlights.set("found", found);
  };

  // The address says what is shown: #/a/path, or #search=...&view=native&unmapped=no.
  const remember = () => {
    const state = new URLSearchParams();
    if (search.value) state.set("search", search.value);
    if (view !== "openconfig") state.set("view", view);
    if (!unmapped.checked) state.set("unmapped", "no");
    history.replaceState(null, "", "#" + state);
  };
  const goTo = (path) => {
    const has = (name) => data[name].some((section) => section.rows.some((row) => row.path === path));
    const name = ["openconfig", "native"].find(has);
    if (!name) { // an inner node that stands for what it holds
      show(path.startsWith("/network-instances") ? "openconfig" : "native");
      search.value = path;
      changed();
      return;
    }
    show(name);
    const row = byId(path);
    filter();
    if (row.hidden) {
      search.value = "";
      unmapped.checked = true;
      filter();
    }
    document.querySelectorAll(".target").forEach((before) => before.classList.remove("target"));
    row.classList.add("target");
    row.scrollIntoView({ block: "center" });
  };
  const follow = () => {
    const hash = decodeURIComponent(location.hash.slice(1).replace(/\+/g, " "));
    if (hash.startsWith("/")) {
      if (!view) show("openconfig");
      filter();
      goTo(hash);
      return;
    }
    const state = new URLSearchParams(location.hash.slice(1));
    show(state.get("view") === "native" ? "native" : "openconfig");
    search.value = state.get("search") || "";
    unmapped.checked = state.get("unmapped") !== "no";
    filter();
  };

  const changed = () => { filter(); remember(); };
  search.addEventListener("input", changed);
  unmapped.addEventListener("change", changed);
  for (const button of document.querySelectorAll("[data-view]")) {
    button.addEventListener("click", () => { show(button.dataset.view); changed(); window.scrollTo(0, 0); });
  }
  document.addEventListener("keydown", (event) => {
    if (event.key === "/" && document.activeElement !== search && !event.ctrlKey && !event.metaKey && !event.altKey) {
      event.preventDefault();
      search.focus();
      search.select();
    } else if (event.key === "Escape") {
      if (!search.value) search.blur();
      search.value = "";
      changed();
    }
  });
  window.addEventListener("hashchange", follow);
  follow();
})();

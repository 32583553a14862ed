// The drawing of the installation on the page. What is clicked in it is touched.
import { NARROW, WIDE, installationParts } from "./installation_parts.mjs";

const NARROWEST = 640; // pixels, for the wide drawing

/** An SVG element of some markup. */
function element(markup) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.innerHTML = markup;
  return svg.firstElementChild;
}

export class InstallationView {
  /** `send(command)` carries out what is clicked. */
  constructor(root, send) {
    this.root = root;
    this.send = send;
    this.svg = root.querySelector("svg");
    this.shown = new Map(); // {markup, part} by key
    this.svg.addEventListener("click", (event) => this.touch(event.target.closest?.(".touch")));
    this.svg.addEventListener("keydown", (event) => {
      if (event.key === "Enter" || event.key === " ") {
        event.preventDefault();
        this.touch(event.target.closest(".touch"));
      }
    });
  }

  touch(part) {
    if (part && !this.isStill) {
      this.send(part.dataset.command);
    }
  }

  /** `levels` by the names of the lines. While the view is still, nothing can be touched. */
  update(state, levels, isStill) {
    this.isStill = isStill;
    const layout = this.root.clientWidth < NARROWEST ? NARROW : WIDE;
    const { parts, height } = installationParts(state, levels, layout);
    this.svg.setAttribute("viewBox", `0 0 ${layout.width} ${height}`);
    this.svg.classList.toggle("still", isStill);
    for (const [key, { part }] of this.shown) {
      if (!parts.has(key)) {
        part.remove();
        this.shown.delete(key);
      }
    }
    for (const [key, markup] of parts) {
      this.showPart(key, markup);
    }
    for (const part of this.svg.querySelectorAll(".touch")) {
      part.setAttribute("aria-disabled", String(isStill));
    }
  }

  /** A part stays the same element while it changes, so that it keeps the focus and a click that has begun. */
  showPart(key, markup) {
    const before = this.shown.get(key);
    if (before?.markup === markup) {
      return;
    }
    const part = element(markup);
    if (before) {
      for (const { name, value } of part.attributes) {
        before.part.setAttribute(name, value);
      }
      before.part.replaceChildren(...part.childNodes);
      before.markup = markup;
    } else {
      this.svg.append(part);
      this.shown.set(key, { markup, part });
    }
  }
}

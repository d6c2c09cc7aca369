// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0
"use strict";
(() => {
const data = JSON.parse(document.getElementById("data").textContent);
const sources = document.getElementById("pictures").content.children;
const find = id => document.getElementById(id);
const view = find("view"), canvas = find("picture"), context = canvas.getContext("2d");
const axes = ["z", "c", "t"];
const at = {z: Math.floor(data.z.count / 2), c: 0, t: 0};
const shown = {scale: 1, x: 0, y: 0, fit: true}; // CSS pixels for one of the picture; its upper left corner
const source = document.createElement("canvas"); // the picture with its contrast
source.width = data.width;
source.height = data.height;
const sourceContext = source.getContext("2d", {willReadFrequently: true});
let levels = null; // the pixels of the picture as it is stored
let request = 0;
let contrasts = data.ranges.map(range => ({low: range.from, high: range.to}));

// The picture

function load() {
  const number = ++request;
  const image = new Image();
  image.onload = () => {
    if (number !== request) return; // another one was asked for meanwhile
    sourceContext.drawImage(image, 0, 0);
    levels = sourceContext.getImageData(0, 0, data.width, data.height);
    applyContrast();
    view.dataset.shown = [at.z, at.c, at.t].join();
  };
  image.onerror = () => { find("status").textContent = "This picture cannot be shown."; };
  image.src = sources[(at.t * data.c.count + at.c) * data.z.count + at.z].getAttribute("src");
  describe();
}

// Stored levels 0 to 255 stand for the values from `least` to `greatest`.
function applyContrast() {
  if (!levels) return;
  const pixels = new Uint8ClampedArray(levels.data);
  if (data.kind !== "colours") {
    const range = data.ranges[at.c], contrast = contrasts[at.c];
    const table = new Uint8ClampedArray(256);
    for (let level = 0; level < 256; ++level) {
      const value = range.least + (range.greatest - range.least) * level / 255;
      const width = contrast.high - contrast.low;
      const share = width > 0 ? (value - contrast.low) / width : value > contrast.low ? 1 : 0;
      table[level] = 255 * (data.minIsBlack ? share : 1 - Math.min(1, Math.max(0, share)));
    }
    for (let index = 0; index < pixels.length; ++index) {
      if (index % 4 !== 3) pixels[index] = table[pixels[index]];
    }
  }
  sourceContext.putImageData(new ImageData(pixels, data.width, data.height), 0, 0);
  draw();
}

function draw() {
  const ratio = window.devicePixelRatio || 1;
  const width = Math.max(1, Math.round(view.clientWidth * ratio));
  const height = Math.max(1, Math.round(view.clientHeight * ratio));
  if (canvas.width !== width || canvas.height !== height) {
    canvas.width = width;
    canvas.height = height;
  }
  if (shown.fit) fit();
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.clearRect(0, 0, width, height);
  context.imageSmoothingEnabled = shown.scale * ratio < 1;
  context.imageSmoothingQuality = "high";
  context.setTransform(ratio * shown.scale, 0, 0, ratio * shown.scale, ratio * shown.x, ratio * shown.y);
  context.drawImage(source, 0, 0);
  find("zoom-value").textContent = Math.round(100 * shown.scale) + " %";
  drawBar();
}

// The longest of 1, 2 or 5 times a power of ten that takes at most 150 pixels and a third of the view, in the
// unit of the file or, of metres, in the one with the shortest number.
function drawBar() {
  const bar = find("bar");
  bar.hidden = !data.pixelSize || !data.unit;
  if (bar.hidden) return;
  const metres = {km: 1e3, m: 1, cm: 1e-2, mm: 1e-3, "µm": 1e-6, nm: 1e-9};
  let size = data.pixelSize, unit = data.unit;
  const room = Math.min(150, view.clientWidth / 3) / shown.scale;
  if (metres[unit]) {
    size *= metres[unit];
    unit = ["km", "m", "mm", "µm"].find(name => room * size >= metres[name]) || "nm";
    size /= metres[unit];
  }
  const power = Math.pow(10, Math.floor(Math.log10(room * size)));
  const length = ([5, 2, 1].find(factor => factor * power <= room * size) || 1) * power;
  find("bar-line").style.width = length / size * shown.scale + "px";
  find("bar-text").textContent = Number(length.toPrecision(6)) + " " + unit;
}

// Zoom

function fit() {
  shown.scale = Math.min(view.clientWidth / data.width, view.clientHeight / data.height);
  shown.x = (view.clientWidth - shown.scale * data.width) / 2;
  shown.y = (view.clientHeight - shown.scale * data.height) / 2;
  shown.fit = true;
}

function zoom(factor, x = view.clientWidth / 2, y = view.clientHeight / 2) {
  const smallest = Math.min(1, view.clientWidth / data.width, view.clientHeight / data.height) / 4;
  const scale = Math.min(64, Math.max(smallest, shown.scale * factor));
  shown.x = x - (x - shown.x) * scale / shown.scale;
  shown.y = y - (y - shown.y) * scale / shown.scale;
  shown.scale = scale;
  shown.fit = false;
  draw();
}

function move(x, y) {
  const keep = (offset, size, room) => Math.min(room - 20, Math.max(20 - size * shown.scale, offset));
  shown.x = keep(shown.x + x, data.width, view.clientWidth);
  shown.y = keep(shown.y + y, data.height, view.clientHeight);
  shown.fit = false;
  draw();
}

function fitAgain() {
  shown.fit = true;
  draw();
}

const fingers = new Map();
function place(event) {
  const box = view.getBoundingClientRect();
  return {x: event.clientX - box.left, y: event.clientY - box.top};
}
view.addEventListener("pointerdown", event => {
  fingers.set(event.pointerId, place(event));
  view.setPointerCapture(event.pointerId);
});
view.addEventListener("pointermove", event => {
  const before = fingers.get(event.pointerId);
  if (!before) return;
  const now = place(event);
  fingers.set(event.pointerId, now);
  const other = [...fingers].find(([id]) => id !== event.pointerId);
  if (!other) {
    move(now.x - before.x, now.y - before.y);
    return;
  }
  const distance = from => Math.hypot(from.x - other[1].x, from.y - other[1].y);
  if (distance(before) > 0) {
    zoom(distance(now) / distance(before), (now.x + other[1].x) / 2, (now.y + other[1].y) / 2);
  }
});
for (const end of ["pointerup", "pointercancel"]) {
  view.addEventListener(end, event => fingers.delete(event.pointerId));
}
view.addEventListener("wheel", event => {
  event.preventDefault();
  const lines = event.deltaMode === 1 ? 16 : 1;
  const from = place(event);
  zoom(Math.exp(-Math.max(-200, Math.min(200, event.deltaY * lines)) / 400), from.x, from.y);
}, {passive: false});
view.addEventListener("dblclick", fitAgain);
find("zoom-in").addEventListener("click", () => zoom(1.25));
find("zoom-out").addEventListener("click", () => zoom(0.8));
find("zoom-fit").addEventListener("click", fitAgain);
new ResizeObserver(draw).observe(view);

// Planes, channels, time steps

function getIndex(axis) {
  return data[axis].first + at[axis] * data[axis].step;
}

function describe() {
  const parts = [];
  for (const axis of axes) {
    if (data[axis].count > 1) {
      const text = getIndex(axis) + " of 0–" + (data[axis].size - 1);
      find(axis).value = at[axis];
      find(axis).setAttribute("aria-valuetext", text);
      find(axis + "-value").textContent = text;
      parts.push(axis + " " + text);
    }
  }
  find("status").textContent = parts.join(", ");
  canvas.setAttribute("aria-label", ["Picture", ...parts].join(", "));
}

function go(axis, index) {
  if (data[axis].count < 2) return false; // the key may have another meaning
  const inside = Math.max(0, Math.min(data[axis].count - 1, index));
  if (inside === at[axis]) return true;
  at[axis] = inside;
  if (axis === "c") showContrast();
  load();
  return true;
}

for (const axis of axes) {
  find("axis-" + axis).hidden = data[axis].count < 2;
  find(axis).max = data[axis].count - 1;
  find(axis).addEventListener("input", event => go(axis, Number(event.target.value)));
}

// Contrast

function format(value) {
  return String(data.isWhole ? Math.round(value) : Number(value.toPrecision(5)));
}

function showContrast() {
  if (data.kind === "colours") return;
  const range = data.ranges[at.c], contrast = contrasts[at.c];
  for (const end of ["low", "high"]) {
    const input = find(end);
    input.value = range.greatest > range.least
      ? 255 * (contrast[end] - range.least) / (range.greatest - range.least) : 0;
    input.setAttribute("aria-valuetext", format(contrast[end]));
    find(end + "-value").textContent = format(contrast[end]);
  }
}

function changeContrast(end, level) {
  const range = data.ranges[at.c], contrast = contrasts[at.c];
  contrast[end] = range.least + (range.greatest - range.least) * level / 255;
  contrast.low = end === "high" ? Math.min(contrast.low, contrast.high) : contrast.low;
  contrast.high = end === "low" ? Math.max(contrast.low, contrast.high) : contrast.high;
  showContrast();
  applyContrast();
}

function resetContrast() {
  contrasts = data.ranges.map(range => ({low: range.from, high: range.to}));
  showContrast();
  applyContrast();
}

find("contrast").hidden = data.kind === "colours";
for (const end of ["low", "high"]) {
  find(end).addEventListener("input", event => changeContrast(end, Number(event.target.value)));
}
find("contrast-reset").addEventListener("click", resetContrast);

// Keys

const sideways = data.t.count > 1 ? "t" : "z";
const keys = {
  ArrowUp: () => go("z", at.z + 1),
  ArrowDown: () => go("z", at.z - 1),
  ArrowRight: () => go(sideways, at[sideways] + 1),
  ArrowLeft: () => go(sideways, at[sideways] - 1),
  c: () => go("c", (at.c + 1) % data.c.count),
  "+": () => zoom(1.25),
  "=": () => zoom(1.25),
  "-": () => zoom(0.8),
  "0": fitAgain,
  r: resetContrast,
  "?": () => { find("help").open = !find("help").open; },
};
document.addEventListener("keydown", event => {
  if (event.ctrlKey || event.metaKey || event.altKey) return; // of the browser
  if (event.key.startsWith("Arrow") && event.target.type === "range") return; // moves the slider itself
  const action = keys[event.key];
  if (action && action() !== false) event.preventDefault();
});

showContrast();
load();
})();

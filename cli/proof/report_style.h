// What every report looks like, and the few lines of script that move its slider.
#pragma once

namespace qva {

constexpr const char* reportStyle = R"(
:root { color-scheme: light dark; --ground: #fbfaf8; --ink: #1d1c1a; --quiet: #66625c;
  --line: #d9d5ce; --scene: #b4540a; --print: #1d5fa8; --paper: #3b7d3b; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #191817; --ink: #efece7; --quiet: #a9a49b; --line: #3a3835;
    --scene: #f09a4e; --print: #7db4f0; --paper: #86c786; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 60rem; background: var(--ground);
  color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.4rem; overflow-wrap: anywhere; } h2 { font-size: 1.1rem; margin-top: 2rem; }
figure { margin: 0; } figcaption, .quiet { color: var(--quiet); font-size: .9rem; }
img { display: block; width: 100%; height: auto; }
.compare { position: relative; --at: 50%; }
.compare .after { position: absolute; inset: 0; clip-path: inset(0 0 0 var(--at)); }
.compare::after { content: ""; position: absolute; top: 0; bottom: 0; left: var(--at); width: 2px;
  margin-left: -1px; background: #fff; box-shadow: 0 0 3px #000; pointer-events: none; }
input[type=range] { width: 100%; margin: .5rem 0; accent-color: var(--print); min-height: 2rem; }
.pair { display: grid; gap: 1rem; grid-template-columns: repeat(auto-fit, minmax(16rem, 1fr)); }
table { border-collapse: collapse; width: 100%; font-size: .9rem; }
th, td { text-align: left; vertical-align: top; padding: .3rem .6rem .3rem 0;
  border-bottom: 1px solid var(--line); overflow-wrap: anywhere; }
th { font-weight: 600; width: 9rem; }
.chip { display: inline-block; width: 1em; height: 1em; margin-right: .5em; vertical-align: -.1em;
  border: 1px solid var(--line); print-color-adjust: exact; -webkit-print-color-adjust: exact; }
svg { display: block; width: 100%; height: auto; } svg text { fill: var(--quiet); font-size: 11px; }
:focus-visible { outline: 3px solid var(--print); outline-offset: 2px; }
@media print { @page { size: A4; margin: 15mm; }
  :root { color-scheme: light; --ground: #fff; --ink: #000; --quiet: #555; --line: #ccc;
    --scene: #b4540a; --print: #1d5fa8; --paper: #3b7d3b; }
  .steps { break-inside: avoid; } body { max-width: none; padding: 0; }
  input[type=range] { display: none; } figure, tr, svg { break-inside: avoid; }
  h2 { break-after: avoid; } .compare img { max-height: 110mm; } .pair img { max-height: 90mm; }
  .compare img, .pair img { width: auto; max-width: 100%; } .compare { display: inline-block; } }
)";

constexpr const char* reportScript = R"(
const slider = document.getElementById('slider');
const compare = document.querySelector('.compare');
const show = () => {
  compare.style.setProperty('--at', slider.value + '%');
  slider.setAttribute('aria-valuetext', slider.value + ' percent cut, the rest printed');
};
slider.addEventListener('input', show);
const drag = event => {
  if (event.buttons === 0 && event.type !== 'pointerdown') return;
  const box = compare.getBoundingClientRect();
  const share = (event.clientX - box.left) / box.width;
  slider.value = Math.round(Math.min(Math.max(share, 0), 1) * 100);
  show();
};
compare.addEventListener('pointerdown', drag);
compare.addEventListener('pointermove', drag);
compare.style.touchAction = 'pan-y';
show();
)";

} // namespace qva

// Loads sprite sheets with Phaser's own JSON atlas readers, on a texture that records what they add,
// and checks that each frame's pivot puts the sprite's origin on its hot spot. Not part of make test,
// which has no network; run it by hand where npm reaches its registry:
//   npm install phaser@3 && brindle-cli export demo.drs --id 1000 walk --format sheet &&
//   brindle-cli export demo.drs --id 1000 walkhash --format sheet --sheet-layout hash &&
//   node check-sheet-in-phaser.js walk.json walkhash.json
const JSONArray = require('phaser/src/textures/parsers/JSONArray');
const JSONHash = require('phaser/src/textures/parsers/JSONHash');
const fs = require('fs');
function load(parser, file) {
  const json = JSON.parse(fs.readFileSync(file));
  const frames = {};
  const texture = {
    source: [{ width: json.meta.size.w, height: json.meta.size.h }], customData: {},
    add(name, source, x, y, w, h) {
      if (frames[name]) return null;
      return (frames[name] = { x, y, w, h, setTrim(...t) { this.trim = t; }, updateUVsInverted() {} });
    },
  };
  const warn = console.warn; let warnings = 0; console.warn = (...m) => { warnings++; warn(...m); };
  parser(texture, 0, json);
  console.warn = warn;
  let aligned = 0;
  for (const [name, f] of Object.entries(frames)) {
    if (name === '__BASE') continue;
    const src = f.customData;
    // The frame's hot spot on the untrimmed canvas must be where the engine puts the sprite's origin.
    const hx = (f.trim ? f.trim[2] : 0) + src.hotspot.x, hy = (f.trim ? f.trim[3] : 0) + src.hotspot.y;
    const ox = f.pivotX * src.sourceSize.w, oy = f.pivotY * src.sourceSize.h;
    if (f.customPivot && Math.abs(hx - ox) < 1e-9 && Math.abs(hy - oy) < 1e-9) aligned++;
  }
  console.log(file, 'frames', Object.keys(frames).length - 1, 'aligned', aligned, 'warnings', warnings,
              'names', Object.keys(frames).slice(1, 3).join(','));
}
load(JSONArray, process.argv[2] || 'walk.json');
load(JSONHash, process.argv[3] || 'walkhash.json');

'use strict';
(function () {
  const D = window.ZATMAP;
  const CLOSED = D.closed_cost, PARTNER = D.partner_kind;
  const N = D.nodes.length, L = D.links.length;
  const element = id => document.getElementById(id);
  const escape = text => String(text).replace(/[&<>"]/g, c =>
    ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' }[c]));

  // What stands where in D.nodes, D.links and the slots of a node: D.columns tells. Numbers of
  // nodes and links in them are those of the page, -1 for what lies outside of it.
  const places = names => Object.fromEntries(names.map((name, place) => [name, place]));
  const NODE = places(D.columns.node), LINK = places(D.columns.link), SLOT = places(D.columns.slot);
  const nodeCode = n => D.nodes[n][NODE.code], nodeName = n => D.nodes[n][NODE.name];
  const nodeX = n => D.nodes[n][NODE.x], nodeY = n => D.nodes[n][NODE.y];
  const slots = n => D.nodes[n][NODE.slots];
  const turns = n => D.nodes[n][NODE.turns], weights = n => D.nodes[n][NODE.weights];
  const linkCode = l => D.links[l][LINK.code], linkName = l => D.links[l][LINK.name];
  const linkA = l => D.links[l][LINK.node_a], linkB = l => D.links[l][LINK.node_b];
  const kindOf = l => D.links[l][LINK.road_kind], shapeOf = l => D.links[l][LINK.shape];

  // Points as Mercator coordinates of zoom 0, links one behind the other.
  const first = new Uint32Array(L + 1);
  let total = 0;
  for (let l = 0; l < L; ++l) { first[l] = total; total += shapeOf(l).length / 2; }
  first[L] = total;
  const px = new Float64Array(total), py = new Float64Array(total);
  const boxes = new Float64Array(4 * L);
  const mercX = lon => 256 * (lon + 180) / 360;
  const mercY = lat => {
    const s = Math.sin(Math.max(-85, Math.min(85, lat)) * Math.PI / 180);
    return 256 * (0.5 - Math.log((1 + s) / (1 - s)) / (4 * Math.PI));
  };
  for (let l = 0; l < L; ++l) {
    const shape = shapeOf(l);
    let x = 0, y = 0, west = Infinity, east = -Infinity, top = Infinity, bottom = -Infinity;
    for (let i = 0, at = first[l]; i < shape.length; i += 2, ++at) {
      x += shape[i]; y += shape[i + 1];
      px[at] = mercX(x / 1e6); py[at] = mercY(y / 1e6);
      west = Math.min(west, px[at]); east = Math.max(east, px[at]);
      top = Math.min(top, py[at]); bottom = Math.max(bottom, py[at]);
    }
    boxes.set([west, top, east, bottom], 4 * l);
  }
  const nx = new Float64Array(N), ny = new Float64Array(N);
  for (let n = 0; n < N; ++n) { nx[n] = mercX(nodeX(n) / 1e6); ny[n] = mercY(nodeY(n) / 1e6); }

  // One colour a road kind, the same in every map.
  const palette = ['#7a7a7a', '#c0392b', '#d35400', '#b7950b', '#2e7d32', '#1565c0', '#6a1b9a',
                   '#37474f', '#00838f', '#8d6e63'];
  const colour = kind => kind >= PARTNER ? '#000' : palette[((kind % 10) + 10) % 10];
  const kinds = [...new Set(D.links.map((_, l) => kindOf(l)))].sort((a, b) => a - b);

  let selected = null;  // {node} or {link}
  let route = null;     // {from, to, connections, cost}
  let routing = null;   // the first node, while two are being chosen

  // -- The map ------------------------------------------------------------------------------
  const map = L_.map('map', { zoomSnap: 0.5, minZoom: 1, maxZoom: 22, attributionControl: false,
                              zoomAnimation: false, fadeAnimation: false });
  L_.control.scale().addTo(map);
  const Layer = L_.Layer.extend({
    onAdd(m) {
      this.canvas = L_.DomUtil.create('canvas', '', m.getPanes().overlayPane);
      this.canvas.style.pointerEvents = 'none';
      m.on('move zoom resize moveend zoomend', this.draw, this);
      this.draw();
    },
    draw() {
      const size = map.getSize(), ratio = window.devicePixelRatio || 1;
      L_.DomUtil.setPosition(this.canvas, map.containerPointToLayerPoint([0, 0]));
      if (this.canvas.width !== size.x * ratio || this.canvas.height !== size.y * ratio) {
        this.canvas.width = size.x * ratio; this.canvas.height = size.y * ratio;
        this.canvas.style.width = size.x + 'px'; this.canvas.style.height = size.y + 'px';
      }
      const g = this.canvas.getContext('2d');
      g.setTransform(ratio, 0, 0, ratio, 0, 0);
      g.clearRect(0, 0, size.x, size.y);
      drawAll(g, view(), size);
    },
  });
  function view() {
    const scale = Math.pow(2, map.getZoom());
    const centre = map.getCenter(), size = map.getSize();
    return { scale, x: mercX(centre.lng) * scale - size.x / 2,
             y: mercY(centre.lat) * scale - size.y / 2 };
  }
  function inView(l, v, size, margin) {
    return boxes[4 * l] * v.scale - v.x <= size.x + margin &&
           boxes[4 * l + 2] * v.scale - v.x >= -margin &&
           boxes[4 * l + 1] * v.scale - v.y <= size.y + margin &&
           boxes[4 * l + 3] * v.scale - v.y >= -margin;
  }
  function trace(g, l, v) {
    for (let i = first[l]; i < first[l + 1]; ++i) {
      const x = px[i] * v.scale - v.x, y = py[i] * v.scale - v.y;
      if (i === first[l]) g.moveTo(x, y); else g.lineTo(x, y);
    }
  }
  // Cost of a link from one end; CLOSED where the node does not list it.
  function costFrom(n, l) {
    if (n < 0) return null;
    const slot = slots(n).find(s => s[SLOT.link] === l);
    return slot ? slot[SLOT.cost] : CLOSED;
  }
  function drawAll(g, v, size) {
    const zoom = map.getZoom(), width = Math.max(1, Math.min(6, (zoom - 11) * 0.8));
    g.lineJoin = g.lineCap = 'round';
    const shown = [];
    for (let l = 0; l < L; ++l) if (inView(l, v, size, 10)) shown.push(l);
    for (const kind of kinds) {
      g.beginPath();
      for (const l of shown) if (kindOf(l) === kind) trace(g, l, v);
      g.strokeStyle = colour(kind);
      g.lineWidth = width * (kind <= 4 ? 1.4 : 1);
      g.setLineDash(kind >= PARTNER ? [4, 4] : []);
      g.stroke();
    }
    g.setLineDash([]);
    if (route) {
      g.beginPath();
      for (const c of route.connections) trace(g, slots(c >> 3)[c & 7][SLOT.link], v);
      g.strokeStyle = 'rgba(255, 0, 170, 0.55)'; g.lineWidth = width + 7; g.stroke();
    }
    if (selected && selected.link !== undefined) {
      g.beginPath(); trace(g, selected.link, v);
      g.strokeStyle = 'rgba(255, 210, 0, 0.8)'; g.lineWidth = width + 6; g.stroke();
    }
    if (zoom >= 15) for (const l of shown) drawOneWay(g, l, v);
    if (zoom >= 16) {
      g.fillStyle = '#fff'; g.strokeStyle = '#333'; g.lineWidth = 1;
      for (let n = 0; n < N; ++n) {
        const x = nx[n] * v.scale - v.x, y = ny[n] * v.scale - v.y;
        if (x < 0 || y < 0 || x > size.x || y > size.y) continue;
        g.beginPath(); g.arc(x, y, 3, 0, 7); g.fill(); g.stroke();
      }
    }
    for (const n of [routing, route && route.from, route && route.to]) {
      if (n === null || n === undefined) continue;
      dot(g, n, v, 7, 'rgb(255, 0, 170)');
    }
    if (selected && selected.node !== undefined) drawTurns(g, selected.node, v);
  }
  function dot(g, n, v, radius, fill) {
    g.beginPath(); g.arc(nx[n] * v.scale - v.x, ny[n] * v.scale - v.y, radius, 0, 7);
    g.fillStyle = fill; g.fill();
  }
  function arrow(g, x, y, angle, size) {
    g.beginPath();
    g.moveTo(x + size * Math.cos(angle), y + size * Math.sin(angle));
    g.lineTo(x + size * Math.cos(angle + 2.5), y + size * Math.sin(angle + 2.5));
    g.lineTo(x + size * Math.cos(angle - 2.5), y + size * Math.sin(angle - 2.5));
    g.closePath(); g.fill();
  }
  // An arrow at the middle of a link that is closed in one direction, a cross when in both.
  function drawOneWay(g, l, v) {
    const ab = D.links[l][LINK.speed_a], ba = D.links[l][LINK.speed_b];
    if (kindOf(l) >= PARTNER || (ab > 0) === (ba > 0) && ab > 0) return;
    const middle = Math.max(first[l], Math.floor((first[l] + first[l + 1] - 2) / 2));
    const ax = px[middle] * v.scale - v.x, ay = py[middle] * v.scale - v.y;
    const bx = px[middle + 1] * v.scale - v.x, by = py[middle + 1] * v.scale - v.y;
    const x = (ax + bx) / 2, y = (ay + by) / 2;
    if (ab === 0 && ba === 0) {
      g.strokeStyle = '#b00020'; g.lineWidth = 2; g.beginPath();
      g.moveTo(x - 5, y - 5); g.lineTo(x + 5, y + 5); g.moveTo(x - 5, y + 5); g.lineTo(x + 5, y - 5);
      g.stroke();
      return;
    }
    g.fillStyle = '#111';
    arrow(g, x, y, Math.atan2(by - ay, bx - ax) + (ab > 0 ? 0 : Math.PI), 6);
  }
  // The point of a link some pixels away from one of its ends.
  function along(l, n, pixels, v) {
    const forward = linkA(l) === n, step = forward ? 1 : -1;
    let i = forward ? first[l] : first[l + 1] - 1, rest = pixels;
    const last = forward ? first[l + 1] - 1 : first[l];
    while (i !== last) {
      const dx = (px[i + step] - px[i]) * v.scale, dy = (py[i + step] - py[i]) * v.scale;
      const length = Math.hypot(dx, dy);
      if (length >= rest && length > 0) {
        return [px[i] * v.scale - v.x + dx * rest / length, py[i] * v.scale - v.y + dy * rest / length];
      }
      rest -= length; i += step;
    }
    return [px[last] * v.scale - v.x, py[last] * v.scale - v.y];
  }
  function drawTurns(g, n, v) {
    const x = nx[n] * v.scale - v.x, y = ny[n] * v.scale - v.y;
    const list = slots(n);
    for (let a = 0; a < list.length; ++a) {
      for (let b = 0; b < list.length; ++b) {
        const no = turns(n)[a] & 0x80 >> b, weight = weights(n) && weights(n)[a] & 0x80 >> b;
        const into = list[a][SLOT.link], out = list[b][SLOT.link];
        if (into < 0 || out < 0 || !no && !weight) continue;
        if (a === b) {
          // A prohibited turn back is a ring on its link.
          const at = along(into, n, 20, v);
          g.beginPath(); g.arc(at[0], at[1], 5, 0, 7);
          g.strokeStyle = '#d50000'; g.lineWidth = 2.5;
          if (no) g.stroke();
          continue;
        }
        const from = along(into, n, 34, v), to = along(out, n, 26, v);
        g.beginPath(); g.moveTo(from[0], from[1]); g.quadraticCurveTo(x, y, to[0], to[1]);
        g.strokeStyle = g.fillStyle = no ? '#d50000' : '#ff9100';
        g.lineWidth = no ? 2.5 : 1.5; g.setLineDash(no ? [] : [5, 3]); g.stroke(); g.setLineDash([]);
        arrow(g, to[0], to[1], Math.atan2(to[1] - y, to[0] - x), 6);
      }
    }
    dot(g, n, v, 6, '#ffd200');
    list.forEach((slot, s) => {
      if (slot[SLOT.link] < 0) return;
      const at = along(slot[SLOT.link], n, 46, v);
      g.font = 'bold 13px system-ui, sans-serif'; g.lineWidth = 3;
      g.strokeStyle = '#fff'; g.fillStyle = '#000';
      g.strokeText(s, at[0] - 4, at[1] + 4); g.fillText(s, at[0] - 4, at[1] + 4);
    });
  }

  // -- Picking ------------------------------------------------------------------------------
  function pick(point) {
    const v = view(), size = map.getSize();
    let best = -1, least = 10;
    for (let n = 0; n < N; ++n) {
      const d = Math.hypot(nx[n] * v.scale - v.x - point.x, ny[n] * v.scale - v.y - point.y);
      if (d < least) { least = d; best = n; }
    }
    if (best >= 0 && (map.getZoom() >= 15 || routing !== null || least < 4)) return { node: best };
    least = 8; let link = -1;
    for (let l = 0; l < L; ++l) {
      if (!inView(l, v, size, 0)) continue;
      for (let i = first[l]; i + 1 < first[l + 1]; ++i) {
        const ax = px[i] * v.scale - v.x - point.x, ay = py[i] * v.scale - v.y - point.y;
        const dx = (px[i + 1] - px[i]) * v.scale, dy = (py[i + 1] - py[i]) * v.scale;
        const length = dx * dx + dy * dy;
        const t = length > 0 ? Math.max(0, Math.min(1, -(ax * dx + ay * dy) / length)) : 0;
        const d = Math.hypot(ax + t * dx, ay + t * dy);
        if (d < least) { least = d; link = l; }
      }
    }
    return link >= 0 ? { link } : null;
  }
  function nearestNode(point) {
    const v = view();
    let best = -1, least = Infinity;
    for (let n = 0; n < N; ++n) {
      const d = Math.hypot(nx[n] * v.scale - v.x - point.x, ny[n] * v.scale - v.y - point.y);
      if (d < least) { least = d; best = n; }
    }
    return best;
  }

  // -- The panel ----------------------------------------------------------------------------
  const row = (name, value) => `<tr><th>${name}</th><td>${value}</td></tr>`;
  const goNode = n => n < 0 ? 'outside this page' :
    `<span class="go" data-node="${n}">${nodeCode(n)}</span>` +
    (nodeName(n) ? ' ' + escape(nodeName(n)) : '');
  const goLink = l => l < 0 ? 'outside this page' :
    `<span class="go" data-link="${l}">${linkCode(l)}</span>` +
    (linkName(l) ? ' ' + escape(linkName(l)) : '');
  const seconds = cost => cost === CLOSED ? 'closed' : (cost / 100).toFixed(2) + ' s';
  const flagNames = ['toll or highway', 'pay road', 'ferry', 'railroad', 'parking', 'toll gate',
                     'pedestrian way'];
  const flagText = flags =>
    flags + (flags ? ' (' + flagNames.filter((_, i) => flags >> i & 1).join(', ') + ')' : '');

  function showNode(n) {
    const list = slots(n), node = D.nodes[n];
    let html = `<h2>Node ${nodeCode(n)}</h2><table>` + row('name', escape(nodeName(n))) +
      row('record', node[NODE.record]) +
      row('place', (nodeX(n) / 1e6).toFixed(6) + ', ' + (nodeY(n) / 1e6).toFixed(6)) +
      row('city', node[NODE.city]) +
      row('attribute word', node[NODE.attribute_word]) +
      row('attribute', flagText(node[NODE.attribute])) + '</table>';
    html += '<h2>Slots</h2><table><tr><th></th><th>link</th><th>to node</th><th>cost</th><th>length</th></tr>' +
      list.map((s, i) => `<tr><td>${i}</td><td>${goLink(s[SLOT.link])}</td>` +
        `<td>${s[SLOT.node] < 0 ? 'outside' : goNode(s[SLOT.node])}</td>` +
        `<td>${seconds(s[SLOT.cost])}</td><td>${s[SLOT.length]}</td></tr>`).join('') + '</table>';
    html += '<h2>Turns</h2><p class="small">row: arriving by the slot, column: leaving by it. ' +
      '<span class="no">no</span> prohibited, <span class="weight">w</span> weighted</p><table class="turns"><tr><th></th>' +
      list.map((_, b) => `<th>${b}</th>`).join('') + '</tr>' +
      list.map((_, a) => `<tr><th>${a}</th>` + list.map((__, b) => {
        const no = turns(n)[a] & 0x80 >> b, w = weights(n) && weights(n)[a] & 0x80 >> b;
        return `<td class="${no && w ? 'both' : no ? 'no' : w ? 'weight' : ''}">${no ? 'no' : ''}${no && w ? ' ' : ''}${w ? 'w' : ''}</td>`;
      }).join('') + '</tr>').join('') + '</table>';
    element('panel').innerHTML = html;
  }
  function showLink(l) {
    const link = D.links[l];
    element('panel').innerHTML = `<h2>Link ${linkCode(l)}</h2><table>` + row('name', escape(linkName(l))) +
      row('record', link[LINK.record]) + row('node A', goNode(linkA(l))) + row('node B', goNode(linkB(l))) +
      row('road kind', kindOf(l)) + row('flags', flagText(link[LINK.flags])) +
      row('length', link[LINK.length]) +
      row('speed A to B', link[LINK.speed_a] || 'closed') +
      row('speed B to A', link[LINK.speed_b] || 'closed') +
      row('cost A to B', linkA(l) < 0 ? '' : seconds(costFrom(linkA(l), l))) +
      row('cost B to A', linkB(l) < 0 ? '' : seconds(costFrom(linkB(l), l))) +
      row('name number', link[LINK.name_number]) + row('name value', link[LINK.name_value]) +
      row('value 4', link[LINK.value4]) + row('value 6', link[LINK.value6]) +
      row('city', link[LINK.city]) + row('shape points', shapeOf(l).length / 2) + '</table>';
  }
  function showRoute() {
    let html = `<h2>Route</h2><p>from ${goNode(route.from)}<br>to ${goNode(route.to)}</p>`;
    if (!route.found) html += '<p>There is no route.</p>';
    else {
      const length = route.connections.reduce((sum, c) => sum + slots(c >> 3)[c & 7][SLOT.length], 0);
      html += `<p id="result">${(route.cost / 100).toFixed(2)} s, length ${length}, ` +
        `${route.connections.length} links</p><table>` + route.connections.map(c => {
          const s = slots(c >> 3)[c & 7];
          return `<tr><td>${goLink(s[SLOT.link])}</td><td>${seconds(s[SLOT.cost])}</td></tr>`;
        }).join('') + '</table>';
    }
    element('panel').innerHTML = html;
  }
  function select(what, move) {
    selected = what;
    if (what && what.node !== undefined) {
      showNode(what.node);
      if (move) map.setView([nodeY(what.node) / 1e6, nodeX(what.node) / 1e6], Math.max(map.getZoom(), 18.5));
    } else if (what && what.link !== undefined) {
      showLink(what.link);
      if (move) {
        const b = 4 * what.link;
        const lat = y => (2 * Math.atan(Math.exp((0.5 - y / 256) * 2 * Math.PI)) - Math.PI / 2) * 180 / Math.PI;
        const lon = x => x / 256 * 360 - 180;
        map.fitBounds([[lat(boxes[b + 3]), lon(boxes[b])], [lat(boxes[b + 1]), lon(boxes[b + 2])]], { maxZoom: 17, padding: [80, 80] });
      }
    }
    layer.draw();
  }

  // -- Routes -------------------------------------------------------------------------------
  // Dijkstra's algorithm over connections (node x 8 + slot): turns depend on the one before.
  function findRoute(from, to) {
    const result = { from, to, connections: [], cost: 0, found: from === to };
    if (result.found) return result;
    const cost = new Float64Array(8 * N).fill(Infinity), before = new Int32Array(8 * N).fill(-1);
    const heap = [];
    const less = (a, b) => a[0] < b[0] || a[0] === b[0] && a[1] < b[1];
    function push(entry) {
      let i = heap.push(entry) - 1;
      while (i > 0 && less(heap[i], heap[i - 1 >> 1])) {
        [heap[i], heap[i - 1 >> 1]] = [heap[i - 1 >> 1], heap[i]]; i = i - 1 >> 1;
      }
    }
    function pop() {
      const top = heap[0], end = heap.pop();
      if (heap.length) {
        heap[0] = end;
        for (let i = 0; ;) {
          let least = i;
          for (const child of [2 * i + 1, 2 * i + 2]) if (child < heap.length && less(heap[child], heap[least])) least = child;
          if (least === i) break;
          [heap[i], heap[least]] = [heap[least], heap[i]]; i = least;
        }
      }
      return top;
    }
    function reach(n, s, soFar, previous) {
      const slot = slots(n)[s], c = 8 * n + s;
      const total = soFar + slot[SLOT.cost];
      if (slot[SLOT.node] < 0 || slot[SLOT.cost] === CLOSED || total >= cost[c]) return;
      cost[c] = total; before[c] = previous; push([cost[c], c]);
    }
    slots(from).forEach((_, s) => reach(from, s, 0, -1));
    while (heap.length) {
      const [soFar, c] = pop();
      if (soFar !== cost[c]) continue;
      const n = c >> 3, slot = slots(n)[c & 7], next = slot[SLOT.node];
      if (next === to) {
        result.found = true; result.cost = soFar;
        for (let i = c; i >= 0; i = before[i]) result.connections.unshift(i);
        return result;
      }
      let arrival = slots(next).findIndex(
        s => s[SLOT.link] === slot[SLOT.link] && s[SLOT.node] === n);
      if (arrival < 0) arrival = slots(next).findIndex(s => s[SLOT.node] === n);
      slots(next).forEach((_, s) => {
        if (arrival < 0 || !(turns(next)[arrival] & 0x80 >> s)) reach(next, s, soFar, c);
      });
    }
    return result;
  }
  function takeForRoute(n) {
    if (routing === null || routing < 0) {
      routing = n; route = null; selected = null;
      element('panel').innerHTML = `<h2>Route</h2><p>from ${goNode(n)}</p><p>Now click its end.</p>`;
    } else {
      route = findRoute(routing, n); routing = null; selected = null;
      element('route').classList.remove('on'); choosing = false;
      showRoute();
    }
    layer.draw();
  }
  let choosing = false;
  element('route').onclick = () => {
    choosing = !choosing; routing = null; route = null;
    element('route').classList.toggle('on', choosing);
    element('panel').innerHTML = choosing ? '<h2>Route</h2><p>Click the node where it begins.</p>' : '';
    layer.draw();
  };

  // -- Search -------------------------------------------------------------------------------
  element('search').oninput = event => {
    const text = event.target.value.trim().toLowerCase(), hits = [];
    if (text.length > 0) {
      for (let n = 0; n < N && hits.length < 50; ++n) {
        if (nodeCode(n).startsWith(text) || nodeName(n).toLowerCase().includes(text)) hits.push(`<li data-node="${n}">node ${nodeCode(n)} ${escape(nodeName(n))}</li>`);
      }
      for (let l = 0; l < L && hits.length < 100; ++l) {
        if (linkCode(l).startsWith(text) || linkName(l).toLowerCase().includes(text)) hits.push(`<li data-link="${l}">link ${linkCode(l)} ${escape(linkName(l))}</li>`);
      }
    }
    element('hits').innerHTML = hits.join('');
  };
  element('side').addEventListener('click', event => {
    const target = event.target.closest('[data-node], [data-link]');
    if (!target) return;
    if (target.dataset.node !== undefined) select({ node: +target.dataset.node }, true);
    else select({ link: +target.dataset.link }, true);
  });

  // -- Start --------------------------------------------------------------------------------
  element('title').textContent = D.title;
  element('counts').textContent = `${N} nodes, ${L} links`;
  element('legend').innerHTML = kinds.map(kind =>
    `<span class="key" style="border-color:${colour(kind)}"></span>road kind ${kind}`).join('<br>');
  const layer = new Layer();
  map.on('click', event => {
    if (choosing) { const n = nearestNode(event.containerPoint); if (n >= 0) takeForRoute(n); return; }
    select(pick(event.containerPoint), false);
  });
  if (N > 0) {
    let west = Infinity, east = -Infinity, south = Infinity, north = -Infinity;
    for (let n = 0; n < N; ++n) {
      west = Math.min(west, nodeX(n)); east = Math.max(east, nodeX(n));
      south = Math.min(south, nodeY(n)); north = Math.max(north, nodeY(n));
    }
    map.fitBounds([[south / 1e6, west / 1e6], [north / 1e6, east / 1e6]]);
  } else map.setView([0, 0], 2);
  layer.addTo(map);

  // #node=CODE, #link=CODE and #route=CODE,CODE open the page at a thing.
  function follow() {
    const [what, value] = decodeURIComponent(location.hash.slice(1)).split('=');
    if (!value) return;
    const nodeOf = code => D.nodes.findIndex(node => node[NODE.code] === code);
    if (what === 'node' && nodeOf(value) >= 0) select({ node: nodeOf(value) }, true);
    if (what === 'link') {
      const l = D.links.findIndex(link => link[LINK.code] === value);
      if (l >= 0) select({ link: l }, true);
    }
    if (what === 'route') {
      const ends = value.split(',').map(nodeOf);
      if (ends.length === 2 && ends[0] >= 0 && ends[1] >= 0) {
        route = findRoute(ends[0], ends[1]); showRoute(); layer.draw();
      }
    }
  }
  window.addEventListener('hashchange', follow);
  follow();
})();

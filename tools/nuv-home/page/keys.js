// The keys of a remote control everywhere but among the tiles: arrows go to what is nearest in their direction, Back
// closes what is open, Home begins anew.

const kFocusable = 'button:not([disabled]), input:not([disabled]), .tile';
// How far the second rectangle lies ahead, and how far beside the way there.
const kDirections = {
  ArrowLeft: { ahead: (a, b) => a.left + a.right - b.left - b.right, beside: besideRow },
  ArrowRight: { ahead: (a, b) => b.left + b.right - a.left - a.right, beside: besideRow },
  ArrowUp: { ahead: (a, b) => a.top + a.bottom - b.top - b.bottom, beside: besideColumn },
  ArrowDown: { ahead: (a, b) => b.top + b.bottom - a.top - a.bottom, beside: besideColumn },
};

// To the sides it goes along the row only, else what is above or below would be in the way.
function besideRow(a, b) {
  return a.bottom <= b.top || b.bottom <= a.top ? Infinity : 0;
}

function besideColumn(a, b) {
  return Math.max(0, b.left - a.right, a.left - b.right);
}

function nearest(from, scope, key) {
  const { ahead, beside } = kDirections[key];
  const here = from.getBoundingClientRect();
  let best = null;
  let bestDistance = Infinity;
  for (const candidate of scope.querySelectorAll(kFocusable)) {
    if (candidate === from || candidate.getClientRects().length === 0) continue;
    const there = candidate.getBoundingClientRect();
    const way = ahead(here, there) / 2;
    const distance = way + beside(here, there);
    if (way > 4 && distance < bestDistance) [best, bestDistance] = [candidate, distance];
  }
  return best;
}

// In a text the arrows move the cursor first.
function staysInText(target, key) {
  if (target.tagName !== 'INPUT' || target.type === 'checkbox') return false;
  if (key === 'ArrowLeft') return target.selectionStart !== 0 || target.selectionEnd !== 0;
  if (key === 'ArrowRight') return target.selectionEnd !== target.value.length;
  return false;
}

function isText(target) {
  return target.tagName === 'INPUT' && target.type !== 'checkbox';
}

export function listenToKeys({ scope, back, home }) {
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey || event.defaultPrevented) return;
    const target = document.activeElement ?? document.body;
    if (kDirections[event.key]) {
      if (staysInText(target, event.key)) return;
      const next = nearest(target, scope(), event.key);
      if (!next) return;
      next.focus({ preventScroll: true });
      next.scrollIntoView({ block: 'nearest' });
    } else if (event.key === 'Escape' || event.key === 'GoBack' || (event.key === 'Backspace' && !isText(target))) {
      back();
    } else if ((event.key === 'Home' && !isText(target)) || event.key === 'BrowserHome') {
      home();
    } else if (event.key === 'Enter' && target.type === 'checkbox') {
      target.click();
    } else {
      return;
    }
    event.preventDefault();
  });
}

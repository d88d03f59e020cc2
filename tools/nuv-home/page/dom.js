// Elements, made so that every text of the catalogue is data: nothing here reads markup.

export function byId(id) {
  return document.getElementById(id);
}

export function element(name, properties = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key === 'class') made.className = value;
    else if (key.startsWith('on')) made.addEventListener(key.slice(2), value);
    else if (key in made && typeof value === 'boolean') made[key] = value;
    else made.setAttribute(key, value);
  }
  made.append(...children.filter((child) => child !== null && child !== ''));
  return made;
}

export function button(text, act, properties = {}) {
  return element('button', { type: 'button', onclick: act, ...properties }, text);
}

// Sets it only where it is another one: a screen reader reads what changes.
export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

// A panel at the side, opened and closed by its button.
import { byId } from './dom.js';

export class Drawer {
  constructor(id, onToggle = () => {}) {
    this.panel = byId(id);
    this.opener = byId(`open-${id}`);
    this.onToggle = onToggle;
    this.opener.addEventListener('click', () => (this.isOpen ? this.close() : this.open()));
    this.panel.querySelector('.close').addEventListener('click', () => this.close());
  }

  get isOpen() {
    return !this.panel.hidden;
  }

  open() {
    if (this.isOpen) return;
    this.toggle(true);
    this.panel.querySelector('button').focus();
  }

  close() {
    if (!this.isOpen) return;
    const had = this.panel.contains(document.activeElement);
    this.toggle(false);
    if (had) this.opener.focus();
  }

  toggle(open) {
    this.panel.hidden = !open;
    this.opener.setAttribute('aria-expanded', String(open));
    document.body.classList.toggle('drawer-open', document.querySelector('.drawer:not([hidden])') !== null);
    this.onToggle(open);
  }
}

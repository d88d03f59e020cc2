// Which applications are shown, and in which order.
import { button, byId } from './dom.js';

const kViews = [['most-used', 'Most used'], ['recently-used', 'Recently used'], ['index', 'Index'],
  ['last-download', 'Last download'], ['title', 'Title']];
const kTypes = [[0, 'Any type'], [2, 'Web'], [4, 'Native'], [16, 'HbbTV'], [8, 'Android']];
const kCategories = [[0, 'Any category'], [1, 'Category 1'], [2, 'Category 2'], [4, 'Category 4'], [8, 'Category 8']];
const kTypingMs = 150;

// Buttons of which one is pressed.
class Choice {
  constructor(target, values, first, onChange) {
    this.value = first;
    this.first = first;
    this.buttons = values.map(([value, name]) => button(name, () => {
      this.set(value);
      onChange();
    }));
    this.values = values.map(([value]) => value);
    target.append(...this.buttons);
    this.set(first);
  }

  set(value) {
    this.value = value;
    this.buttons.forEach((one, place) => one.setAttribute('aria-pressed', String(this.values[place] === value)));
  }
}

export class Filters {
  constructor(onChange) {
    this.onChange = onChange;
    const changed = () => onChange(this.question());
    this.view = new Choice(byId('views'), kViews, 'index', changed);
    this.type = new Choice(byId('types'), kTypes, 0, changed);
    this.category = new Choice(byId('categories'), kCategories, 0, changed);
    this.search = byId('search');
    this.hidden = byId('hidden-too');
    this.search.addEventListener('input', () => {
      clearTimeout(this.typing);
      this.typing = setTimeout(changed, kTypingMs);
    });
    this.hidden.addEventListener('click', () => {
      this.hidden.setAttribute('aria-pressed', String(!this.isHiddenToo));
      changed();
    });
  }

  get isHiddenToo() {
    return this.hidden.getAttribute('aria-pressed') === 'true';
  }

  question() {
    return {
      view: this.view.value, type: this.type.value, category: this.category.value, search: this.search.value.slice(0, 80),
      hidden: this.isHiddenToo,
    };
  }

  // True where something was searched for.
  clearSearch() {
    if (this.search.value === '') return false;
    this.search.value = '';
    this.onChange(this.question());
    return true;
  }
}

// Light and dark: as the system has it, until somebody chooses.
'use strict';

class Theme {
  constructor(button) {
    this.root = document.documentElement;
    this.button = button;
    this.listeners = [];
    this.system = matchMedia('(prefers-color-scheme: dark)');
    this.system.addEventListener('change', () => this.announce());
    button.addEventListener('click', () => this.choose(this.isDark() ? 'light' : 'dark'));
    this.announce();
  }

  isDark() {
    const chosen = this.root.dataset.theme;
    return chosen ? chosen === 'dark' : this.system.matches;
  }

  choose(name) {
    this.root.dataset.theme = name;
    this.announce();
  }

  // Paper is light. Gives what brings the former theme back.
  chooseForPaper() {
    const former = this.root.dataset.theme;
    this.choose('light');
    return () => {
      if (former) return this.choose(former);
      delete this.root.dataset.theme;
      this.announce();
    };
  }

  onChange(listener) {
    this.listeners.push(listener);
  }

  announce() {
    this.button.textContent = this.isDark() ? 'Light' : 'Dark';
    this.button.setAttribute('aria-label', this.isDark() ? 'Light colours' : 'Dark colours');
    for (const listener of this.listeners) listener();
  }

  // A colour of page.css as shares of red, green and blue.
  shares(name) {
    const text = getComputedStyle(this.root).getPropertyValue(name).trim();
    return [1, 3, 5].map((at) => parseInt(text.slice(at, at + 2), 16) / 255);
  }
}

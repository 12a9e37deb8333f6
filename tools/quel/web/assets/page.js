// What every page has: its theme, its view with the buttons, and how it is printed.
'use strict';

class Page {
  constructor() {
    for (const element of document.querySelectorAll('.scripted')) element.hidden = false;
    this.theme = new Theme(document.getElementById('theme'));
    this.view = this.openView();
    addEventListener('beforeprint', () => this.beforePrint());
    addEventListener('afterprint', () => this.afterPrint());
  }

  // Null where this browser draws none, which the page then says.
  openView() {
    try {
      const view = new View(document.getElementById('view'), this.theme);
      this.connect(view);
      return view;
    } catch (error) {
      this.say('This browser shows no WebGL 2, which the view in 3D needs. The tables are complete without it.');
      return null;
    }
  }

  connect(view) {
    view.canvas.addEventListener('webglcontextlost', () => this.say('The view in 3D was lost. Load the page anew.'));
    new Controls(view);
    new Triad(document.getElementById('triad'), view);
    document.getElementById('view-fit').addEventListener('click', () => view.fit());
    for (const button of document.querySelectorAll('#view-tools [data-axis]')) {
      button.addEventListener('click', () => view.lookAlong(Number(button.dataset.axis)));
    }
  }

  // In the place of the view.
  say(text) {
    document.getElementById('view-message').textContent = text;
    document.getElementById('view-message').hidden = false;
    document.getElementById('view-tools').hidden = true;
    document.getElementById('stage').classList.add('without-view');
  }

  // Paper gets a picture: what a view draws now, browsers print only once it was on the screen.
  beforePrint() {
    if (this.restoreTheme) return;
    this.restoreTheme = this.theme.chooseForPaper();
    if (this.view) this.view.drawOnto(document.getElementById('paper'));
  }

  afterPrint() {
    if (!this.restoreTheme) return;
    this.restoreTheme();
    this.restoreTheme = null;
  }
}

// How much of the points is drawn while a view moves: as much as the machine draws within the time of a frame.
'use strict';

class Pacer {
  constructor() {
    this.share = 1;
    this.least = 1;
  }

  // A machine that is not known yet begins with as many as nearly any draws in time. Without points nothing can be left out.
  begin(points) {
    this.share = Math.min(1, Pacer.FIRST / Math.max(points, 1));
    this.least = points === 0 ? 1 : Pacer.LEAST;
  }

  // Goes on as `other` does.
  follow(other) {
    this.share = other.share;
    this.least = other.least;
  }

  // A frame took that many milliseconds.
  took(milliseconds) {
    const change = Math.min(Math.max(Pacer.FRAME / milliseconds, 0.5), 1.25);
    this.share = Math.min(Math.max(this.share * change, this.least), 1);
  }
}

Pacer.FRAME = 32;
Pacer.FIRST = 200000;
Pacer.LEAST = 0.002;

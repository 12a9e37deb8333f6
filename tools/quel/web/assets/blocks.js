// What the tool left in the page: values as JSON, and columns of many numbers as planes of bytes.
'use strict';

function pageJson(id) {
  return JSON.parse(document.getElementById(id).textContent);
}

function bytesOfBase64(text) {
  const characters = atob(text);
  const bytes = new Uint8Array(characters.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = characters.charCodeAt(i);
  return bytes;
}

async function pageBytes(id) {
  const packed = new Blob([bytesOfBase64(document.getElementById(id).textContent)]);
  const unpacked = packed.stream().pipeThrough(new DecompressionStream('deflate-raw'));
  return new Uint8Array(await new Response(unpacked).arrayBuffer());
}

// Columns of the same number of rows, one after another. Each is the differences of neighbours, zigzag, the lowest bytes of all
// rows first.
class Columns {
  constructor(bytes, rows) {
    this.bytes = bytes;
    this.rows = rows;
    this.begin = 0;
  }

  // Hands each row of a column of 16 bits to `put`.
  read16(put) {
    this.read(2, (last, change) => (last + change) & 0xFFFF, put);
  }

  // The same of 32 bits, which have a sign.
  read32(put) {
    this.read(4, (last, change) => (last + change) | 0, put);
  }

  read(planes, add, put) {
    let last = 0;
    for (let row = 0; row < this.rows; ++row) {
      let code = 0;
      for (let plane = planes - 1; plane >= 0; --plane) {
        code = (code << 8) | this.bytes[this.begin + plane * this.rows + row];
      }
      last = add(last, (code >>> 1) ^ -(code & 1));
      put(row, last);
    }
    this.begin += planes * this.rows;
  }
}

function reversedBits(value, count) {
  let bits = value;
  bits = ((bits >>> 1) & 0x55555555) | ((bits & 0x55555555) << 1);
  bits = ((bits >>> 2) & 0x33333333) | ((bits & 0x33333333) << 2);
  bits = ((bits >>> 4) & 0x0F0F0F0F) | ((bits & 0x0F0F0F0F) << 4);
  bits = ((bits >>> 8) & 0x00FF00FF) | ((bits & 0x00FF00FF) << 8);
  return count === 0 ? 0 : ((bits >>> 16) | (bits << 16)) >>> (32 - count);
}

// When each of `count` neighbours along a curve is drawn, so that the first of any number are spread evenly over the curve.
function evenTurns(count) {
  const turns = new Uint32Array(count);
  const bits = 32 - Math.clz32(Math.max(count - 1, 0));
  let turn = 0;
  for (let k = 0; turn < count; ++k) {
    const place = reversedBits(k, bits);
    if (place < count) turns[place] = turn++;
  }
  return turns;
}

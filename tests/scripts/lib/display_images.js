// Image readers for the capture tests, written from the file formats alone
// (DEFLATE, PNG, JPEG markers) so that they share nothing with the code that
// writes the images. Load with tarn.load('lib/display_images.js').
var images = (function () {
  // --- DEFLATE (RFC 1951) -----------------------------------------------------
  const LENGTH_BASE = [3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59,
                       67, 83, 99, 115, 131, 163, 195, 227, 258];
  const LENGTH_EXTRA = [0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4,
                        5, 5, 5, 5, 0];
  const DIST_BASE = [1, 2, 3, 4, 5, 7, 9, 13, 17, 25, 33, 49, 65, 97, 129, 193, 257, 385, 513,
                     769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577];
  const DIST_EXTRA = [0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10,
                      11, 11, 12, 12, 13, 13];
  const CL_ORDER = [16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15];

  // Canonical Huffman code from code lengths: counts per length and symbols.
  function huffman(lengths) {
    const counts = new Array(16).fill(0);
    for (const l of lengths) counts[l]++;
    counts[0] = 0;
    const offsets = new Array(16).fill(0);
    for (let i = 1; i < 16; ++i) offsets[i] = offsets[i - 1] + counts[i - 1];
    const symbols = new Array(lengths.length);
    lengths.forEach((l, s) => { if (l) symbols[offsets[l]++] = s; });
    return {counts, symbols};
  }

  function inflate(data) {
    let pos = 0, bit = 0;
    const out = [];
    const need = (n) => {
      let v = 0;
      for (let i = 0; i < n; ++i) {
        if (pos >= data.length) throw new Error('deflate: out of data');
        v |= ((data[pos] >> bit) & 1) << i;
        if (++bit === 8) { bit = 0; ++pos; }
      }
      return v;
    };
    const decode = (h) => {
      let code = 0, first = 0, index = 0;
      for (let len = 1; len < 16; ++len) {
        code |= need(1);
        const count = h.counts[len];
        if (code - first < count) return h.symbols[index + code - first];
        index += count;
        first = (first + count) << 1;
        code <<= 1;
      }
      throw new Error('deflate: bad code');
    };
    let final = 0;
    while (!final) {
      final = need(1);
      const type = need(2);
      if (type === 0) {
        if (bit) { bit = 0; ++pos; }
        const len = data[pos] | (data[pos + 1] << 8);
        pos += 4;
        for (let i = 0; i < len; ++i) out.push(data[pos++]);
        continue;
      }
      let lit, dist;
      if (type === 1) {
        const l = [];
        for (let i = 0; i < 288; ++i) l.push(i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8);
        lit = huffman(l);
        dist = huffman(new Array(30).fill(5));
      } else if (type === 2) {
        const hlit = need(5) + 257, hdist = need(5) + 1, hclen = need(4) + 4;
        const cl = new Array(19).fill(0);
        for (let i = 0; i < hclen; ++i) cl[CL_ORDER[i]] = need(3);
        const clh = huffman(cl);
        const lengths = [];
        while (lengths.length < hlit + hdist) {
          const sym = decode(clh);
          if (sym < 16) lengths.push(sym);
          else if (sym === 16) { const p = lengths[lengths.length - 1]; for (let r = 3 + need(2); r; --r) lengths.push(p); }
          else if (sym === 17) { for (let r = 3 + need(3); r; --r) lengths.push(0); }
          else { for (let r = 11 + need(7); r; --r) lengths.push(0); }
        }
        lit = huffman(lengths.slice(0, hlit));
        dist = huffman(lengths.slice(hlit));
      } else {
        throw new Error('deflate: bad block type');
      }
      for (;;) {
        const sym = decode(lit);
        if (sym < 256) { out.push(sym); continue; }
        if (sym === 256) break;
        const li = sym - 257;
        const len = LENGTH_BASE[li] + need(LENGTH_EXTRA[li]);
        const di = decode(dist);
        const d = DIST_BASE[di] + need(DIST_EXTRA[di]);
        if (d > out.length) throw new Error('deflate: distance too far');
        for (let i = 0; i < len; ++i) out.push(out[out.length - d]);
      }
    }
    return Uint8Array.from(out);
  }

  // --- PNG ---------------------------------------------------------------------
  const CRC_TABLE = (() => {
    const t = [];
    for (let n = 0; n < 256; ++n) {
      let c = n;
      for (let k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320 ^ (c >>> 1) : c >>> 1;
      t.push(c >>> 0);
    }
    return t;
  })();
  function crc32(bytes) {
    let c = 0xFFFFFFFF;
    for (const b of bytes) c = CRC_TABLE[(c ^ b) & 255] ^ (c >>> 8);
    return (c ^ 0xFFFFFFFF) >>> 0;
  }
  const be32 = (b, i) => ((b[i] << 24) | (b[i + 1] << 16) | (b[i + 2] << 8) | b[i + 3]) >>> 0;

  // {width, height, pixels: [r, g, b] rows} of an 8-bit RGB PNG; throws on
  // anything malformed (signature, chunk CRC, zlib checksum, filters).
  function decodePng(bytes) {
    const sig = [137, 80, 78, 71, 13, 10, 26, 10];
    if (!bytes || bytes.length < 8 || sig.some((v, i) => bytes[i] !== v)) throw new Error('png: signature');
    let pos = 8, width = 0, height = 0, ended = false;
    const idat = [];
    while (pos < bytes.length) {
      const len = be32(bytes, pos);
      const type = String.fromCharCode(...bytes.subarray(pos + 4, pos + 8));
      const body = bytes.subarray(pos + 8, pos + 8 + len);
      if (crc32(bytes.subarray(pos + 4, pos + 8 + len)) !== be32(bytes, pos + 8 + len)) {
        throw new Error('png: CRC of ' + type);
      }
      if (type === 'IHDR') {
        width = be32(body, 0);
        height = be32(body, 4);
        if (body[8] !== 8 || body[9] !== 2 || body[12] !== 0) throw new Error('png: not 8-bit RGB');
      } else if (type === 'IDAT') {
        for (const b of body) idat.push(b);
      } else if (type === 'IEND') {
        ended = true;
        break;
      }
      pos += 12 + len;
    }
    if (!ended) throw new Error('png: no IEND');
    const z = Uint8Array.from(idat);
    if ((z[0] & 15) !== 8 || ((z[0] << 8) | z[1]) % 31) throw new Error('png: zlib header');
    const raw = inflate(z.subarray(2, z.length - 4));
    let a = 1, b = 0;
    for (const v of raw) { a = (a + v) % 65521; b = (b + a) % 65521; }
    if (((b << 16) | a) >>> 0 !== be32(z, z.length - 4)) throw new Error('png: adler32');
    const stride = width * 3;
    if (raw.length !== height * (stride + 1)) throw new Error('png: data size');
    const rows = [];
    let prev = new Uint8Array(stride);
    for (let y = 0; y < height; ++y) {
      const filter = raw[y * (stride + 1)];
      const line = raw.slice(y * (stride + 1) + 1, (y + 1) * (stride + 1));
      for (let i = 0; i < stride; ++i) {
        const left = i >= 3 ? line[i - 3] : 0, up = prev[i], ul = i >= 3 ? prev[i - 3] : 0;
        let add;
        if (filter === 0) add = 0;
        else if (filter === 1) add = left;
        else if (filter === 2) add = up;
        else if (filter === 3) add = (left + up) >> 1;
        else if (filter === 4) {
          const p = left + up - ul, pa = Math.abs(p - left), pb = Math.abs(p - up), pc = Math.abs(p - ul);
          add = pa <= pb && pa <= pc ? left : pb <= pc ? up : ul;
        } else throw new Error('png: filter ' + filter);
        line[i] = (line[i] + add) & 255;
      }
      rows.push(line);
      prev = line;
    }
    return {width, height, pixel: (x, y) => Array.from(rows[y].subarray(x * 3, x * 3 + 3))};
  }

  // --- JPEG --------------------------------------------------------------------
  // Walks the marker segments: {width, height, components} from the frame
  // header; throws unless the file runs from SOI through entropy-coded scan
  // data to EOI.
  function readJpeg(bytes) {
    if (!bytes || bytes[0] !== 0xFF || bytes[1] !== 0xD8) throw new Error('jpeg: no SOI');
    let pos = 2, frame = null, scans = 0;
    while (pos < bytes.length) {
      if (bytes[pos] !== 0xFF) throw new Error('jpeg: marker expected at ' + pos);
      const m = bytes[pos + 1];
      if (m === 0xD9) {
        if (pos + 2 !== bytes.length) throw new Error('jpeg: data after EOI');
        if (!frame || !scans) throw new Error('jpeg: no frame or scan');
        return frame;
      }
      const len = (bytes[pos + 2] << 8) | bytes[pos + 3];
      if (m === 0xC0 || m === 0xC1 || m === 0xC2) {
        frame = {height: (bytes[pos + 5] << 8) | bytes[pos + 6],
                 width: (bytes[pos + 7] << 8) | bytes[pos + 8], components: bytes[pos + 9]};
      }
      pos += 2 + len;
      if (m === 0xDA) {
        ++scans;
        // Entropy-coded data: up to the next marker that is not a stuffed
        // zero or a restart marker.
        while (pos < bytes.length - 1 &&
               !(bytes[pos] === 0xFF && bytes[pos + 1] !== 0 && (bytes[pos + 1] & 0xF8) !== 0xD0)) {
          ++pos;
        }
      }
    }
    throw new Error('jpeg: no EOI');
  }

  return {inflate, decodePng, readJpeg, crc32};
})();

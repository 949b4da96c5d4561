// What the tables of blocks have in common: a first stage with a word for each block of code points, a second
// stage with the entries of the blocks.

// Blocks of the case maps: 512 of 128 code points cover the values 0 to 0xFFFF.
export const blockSize = 128;
export const blockCount = 512;

// Cuts `values` into blocks of `size`, keeps each different block once, and says for each block which it is.
export function share(values, size) {
  const known = new Map();
  const stage1 = [];
  const stage2 = [];
  for (let start = 0; start < values.length; start += size) {
    const block = values.slice(start, start + size);
    const key = block.join();
    if (!known.has(key)) {
      known.set(key, known.size);
      stage2.push(...block);
    }
    stage1.push(known.get(key));
  }
  return { stage1, stage2, different: known.size };
}

// Reading a stream to its end, such as the body of a request or of a response.

export async function readBytes(stream) {
  const chunks = [];
  for await (const chunk of stream) chunks.push(chunk);
  return Buffer.concat(chunks);
}

/** The content of a stream as UTF-8 text. */
export async function readText(stream) {
  return (await readBytes(stream)).toString('utf8');
}

// Talks to the example server with the official MCP client for TypeScript. Standard input is a JSON object with
//
//   server         how to start the server (StdioServerParameters)
//   conversation   calls: a list of [tool, arguments, text of the answer]; the text of an error begins with "error: "
//
// Ends with an error at the first answer that the client cannot use.
import assert from 'node:assert/strict';
import { text as readAll } from 'node:stream/consumers';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { AjvJsonSchemaValidator } from '@modelcontextprotocol/sdk/validation/ajv';

const { server, conversation } = JSON.parse(await readAll(process.stdin));
const errors = []; // of the client: invalid messages, and messages without a request
const versions = []; // of the protocol, as agreed
const client = new Client({ name: 'test', version: '1' });
client.onerror = (error) => errors.push(error);
const transport = new StdioClientTransport(server);
transport.setProtocolVersion = (version) => versions.push(version);
await client.connect(transport);
assert.deepEqual(versions, ['2025-11-25']);
assert.match(client.getInstructions(), /^Call search first,/m);

const schemas = new AjvJsonSchemaValidator();
const validators = new Map();
for (const { name, title, annotations, outputSchema } of (await client.listTools()).tools) {
  assert(title, name);
  assert.deepEqual(annotations, { readOnlyHint: true, openWorldHint: false }, name);
  validators.set(name, schemas.getValidator(outputSchema));
}

// The text of an answer. Its object has the same content and a shape of the tool's output schema.
async function call(name, args) {
  const { content, structuredContent, isError } = await client.callTool({ name, arguments: args });
  const [{ text }] = content;
  if (isError) return `error: ${text}`;
  const { valid, errorMessage } = validators.get(name)(structuredContent);
  assert(valid, `${name}: ${errorMessage}: ${text}`);
  assert.equal(JSON.stringify(structuredContent), JSON.stringify(JSON.parse(text)), name);
  return text;
}

await call('files', {}); // waits for the index
for (const [name, args, expected] of conversation) {
  const text = (await call(name, args)).replaceAll(/\d{4}-\d\d-\d\dT[^"]+/g, '<time>');
  assert.equal(text.replaceAll(/(?<=broken.py: )[^"]+/g, '<error>'), expected);
}
await assert.rejects(client.callTool({ name: 'git' }), /Unknown tool: git/);
await transport.send([]); // neither this message nor its error has an id
await client.ping();
assert.match(errors.pop().message, /response for an unknown message ID: .*"code":-32600/);
await client.close();
assert.deepEqual(errors, []);

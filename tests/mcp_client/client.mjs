// Talks to the example server with the official MCP client for TypeScript. Standard input is a JSON object with
//
//   slow, small    how to start a server whose index takes a second or more, and one whose index is ready at once
//                  (StdioServerParameters)
//   conversation   calls about the small tree: a list of [tool, arguments, text of the answer]; the text of an error
//                  begins with "error: "
//
// Ends with an error at the first answer that the client cannot use.
import assert from 'node:assert/strict';
import { text as readAll } from 'node:stream/consumers';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { AjvJsonSchemaValidator } from '@modelcontextprotocol/sdk/validation/ajv';

const { slow, small, conversation } = JSON.parse(await readAll(process.stdin));
const schemas = new AjvJsonSchemaValidator();

class Session {
  errors = []; // of the client: invalid messages, and messages without a request
  versions = []; // of the protocol, as agreed

  static async start(server) {
    const session = new Session();
    session.client = new Client({ name: 'test', version: '1' });
    session.client.onerror = (error) => session.errors.push(error);
    const transport = new StdioClientTransport(server);
    transport.setProtocolVersion = (version) => session.versions.push(version);
    await session.client.connect(transport);
    session.tools = (await session.client.listTools()).tools;
    session.validators = new Map(session.tools.map((tool) => [tool.name, schemas.getValidator(tool.outputSchema)]));
    return session;
  }

  // The text of an answer. Its object has the same content and a shape of the tool's output schema.
  async call(name, args) {
    const { content, structuredContent, isError } = await this.client.callTool({ name, arguments: args });
    const [{ text }] = content;
    if (isError) return `error: ${text}`;
    const { valid, errorMessage } = this.validators.get(name)(structuredContent);
    assert(valid, `${name}: ${errorMessage}: ${text}`);
    assert.equal(JSON.stringify(structuredContent), JSON.stringify(JSON.parse(text)), name);
    return text;
  }

  async close() {
    await this.client.close();
    assert.deepEqual(this.errors, []);
  }
}

// A call right after the start of the server waits for the index.
async function rightAfterTheStart() {
  const session = await Session.start(slow);
  assert.deepEqual(session.versions, ['2025-11-25']);
  assert.match(session.client.getInstructions(), /^Call search first,/m);
  for (const { name, title, annotations } of session.tools) {
    assert(title, name);
    assert.deepEqual(annotations, { readOnlyHint: true, openWorldHint: false }, name);
  }
  assert.equal(JSON.parse(await session.call('search', { query: 'm299 f' })).total_count, 1);
  const { status, progress } = JSON.parse(await session.call('status', {}));
  assert.deepEqual([status, progress], ['ready', 100]);
  await session.close();
}

async function aConversation() {
  const session = await Session.start(small);
  await session.call('files', {});
  for (const [name, args, expected] of conversation) {
    const text = await session.call(name, args);
    assert.equal(text.replaceAll(/\d{4}-\d\d-\d\dT[^"]+/g, '<time>'), expected);
  }
  await assert.rejects(session.client.callTool({ name: 'git' }), /Unknown tool: git/);
  await session.client.transport.send([]); // neither this message nor its error has an id
  await session.client.ping();
  assert.match(session.errors.pop().message, /response for an unknown message ID: .*"code":-32600/);
  await session.close();
}

await rightAfterTheStart();
await aConversation();

// Talks to the example server with the MCP client that most clients are built on. Standard input has, as JSON,
//
//   slow, small    how to start a server that indexes for some time, and one that is ready soon (StdioServerParameters)
//   conversation   what is said about the small tree: a list of [tool, arguments, text of the answer], where the text of
//                  an error begins with "error: "
//
// It ends at the first answer that such a client could not use.
import assert from 'node:assert/strict';
import { text as whole } from 'node:stream/consumers';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { AjvJsonSchemaValidator } from '@modelcontextprotocol/sdk/validation/ajv';

const { slow, small, conversation } = JSON.parse(await whole(process.stdin));
const schemas = new AjvJsonSchemaValidator();

class Session {
  errors = []; // what is no message, or none that the protocol knows
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

  // The text of an answer, whose object has said the same in the shape that was promised.
  async call(name, args) {
    const { content, structuredContent, isError } = await this.client.callTool({ name, arguments: args });
    const [{ text }] = content;
    if (isError) return `error: ${text}`;
    const { valid, errorMessage } = this.validators.get(name)(structuredContent);
    assert(valid, `${name}: ${errorMessage}: ${text}`);
    assert.equal(JSON.stringify(structuredContent), JSON.stringify(JSON.parse(text)), name);
    return text;
  }

  async status() {
    return JSON.parse(await this.call('status', {}));
  }

  async close() {
    await this.client.close();
    assert.deepEqual(this.errors, []);
  }
}

// What is said while the index is made: how far it is, and by every other tool that it is not there.
async function whileIndexing() {
  const session = await Session.start(slow);
  assert.deepEqual(session.versions, ['2025-11-25']);
  assert.match(session.client.getInstructions(), /^Begin with search,/m);
  for (const { name, title, annotations } of session.tools) {
    assert(title, name);
    assert.deepEqual(annotations, { readOnlyHint: true, openWorldHint: false }, name);
  }
  const args = new Map(conversation.filter(([, , text]) => !text.startsWith('error: ')).map((said) => said.slice(0, 2)));
  const others = session.tools.map(({ name }) => name).filter((name) => name !== 'status');
  let refused = 0;
  for (let status; (status = await session.status()).status !== 'ready'; ) {
    assert.equal(status.status, 'indexing');
    for (const name of others) {
      // The index may be ready by now; then the answer has been held against its schema.
      const text = await session.call(name, args.get(name));
      refused += text.startsWith('error: The index is being built: ') ? 1 : 0;
    }
  }
  assert(refused >= others.length, `only ${refused} calls came before the index`);
  for (const name of others) assert.doesNotMatch(await session.call(name, args.get(name)), /^error: The index/);
  assert.deepEqual((await session.client.listTools()).tools, session.tools);
  await session.close();
}

async function aConversation() {
  const session = await Session.start(small);
  while ((await session.status()).status === 'indexing');
  for (const [name, args, expected] of conversation) {
    const text = await session.call(name, args);
    assert.equal(text.replaceAll(/\d{4}-\d\d-\d\dT[^"]+/g, '<time>'), expected);
  }
  await assert.rejects(session.client.callTool({ name: 'git' }), /Unknown tool: git/);
  await session.client.transport.send([]); // it has no id, and neither has the error that it gets
  await session.client.ping();
  assert.match(session.errors.pop().message, /response for an unknown message ID: .*"code":-32600/);
  await session.close();
}

await whileIndexing();
await aConversation();

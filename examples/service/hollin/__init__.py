"""The least of a code-intelligence service: an example of how a service uses `hollin.mcp_responses`."""

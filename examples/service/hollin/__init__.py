"""A small code-intelligence service: an example of the use of `hollin.mcp_responses`."""

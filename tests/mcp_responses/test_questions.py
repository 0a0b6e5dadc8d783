"""Questions of an agent to the example server, about parts of the standard library and about this project."""

import json
import re
import shutil
import sysconfig
import time
from pathlib import Path

from service import Client, ServiceTest, calls_in
from script_helper import HERE, make_folder

ROOT = HERE.parents[1]
PARTS = {
    "library": (Path(sysconfig.get_path("stdlib")), "json unittest collections http os.py posixpath.py ntpath.py "
                "_collections_abc.py _pyio.py"),
    "project": (ROOT, "examples benchmarks tests docs README.md CONTRIBUTING.md"),
}

# The tree, the question, and the calls of tools.
QUESTIONS = re.findall(r"^(\w+): (.+)\n((?:.+\n)+)", (HERE / "questions.txt").read_text("utf-8"), re.M)


class QuestionsTest(ServiceTest):
    def start_with(self, parts: str) -> tuple[Client, Path]:
        source, names = PARTS[parts]
        root = make_folder(self.addCleanup)
        for name in names.split():
            if (source / name).is_dir():
                ignored = shutil.ignore_patterns("__pycache__", "node_modules", "test" if parts == "library" else "")
                shutil.copytree(source / name, root / name, ignore=ignored)
            else:
                shutil.copy(source / name, root)
        for path in ("http/broken.py", "documents/conf.py") if parts == "library" else ():
            (root / path).parent.mkdir(exist_ok=True)
            (root / path).write_text("A = 1\n" + "def (:\n" * path.endswith("broken.py"))
        return self.start_with_tree(root), root

    def result(self, client: Client, root: Path, tool: str, arguments: dict) -> str:
        if tool == "write":  # writes or deletes files, and waits until the server looks at the tree again
            for path, content in arguments.items():
                (root / path).write_text(content) if content else (root / path).unlink()
            time.sleep(2.1)
            return ""
        return client.call(tool, **json.loads(json.dumps(arguments).replace("{root}", str(root))))

    def test_each_answer_has_the_facts(self):
        self.assertEqual({parts for parts, *_ in QUESTIONS}, {*PARTS})
        servers = {parts: self.start_with(parts) for parts in PARTS}
        failed = {}
        for parts, question, calls in QUESTIONS:
            for tool, arguments, fact in calls_in(calls):
                text = self.result(*servers[parts], tool, arguments)
                if not re.search(fact, text):
                    failed.setdefault(question, []).append(f"{tool} {arguments}: {fact}\n    {text[:1500]}")
        self.assertEqual(failed, {}, "\n".join(f"{name}\n  " + "\n  ".join(each) for name, each in failed.items()))

"""Every relative link of the installed documents leads to something: links_test.py FOLDER"""

import re
import sys
from pathlib import Path

folder = Path(sys.argv[1])
documents = sorted(folder.rglob("*.md"))
broken = [
    f"{document.relative_to(folder)}: {target}"
    for document in documents
    for target in re.findall(r"\]\(([^)#\s]+)", document.read_text())
    if "://" not in target and not (document.parent / target).exists()
]
print("\n".join(broken) or f"{len(documents)} documents")
sys.exit(1 if broken or len(documents) < 10 else 0)

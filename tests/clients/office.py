"""LibreOffice, headless, with a database document over a data source. By the system's Python, which has its bridge."""
import os
import pathlib
import subprocess
import tempfile
import time

import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException

FIRST_SECONDS = 90  # a first start makes a profile
folder = tempfile.TemporaryDirectory()
pipe = f"vhcass{os.getpid()}"
office = subprocess.Popen(
    ["soffice", "--headless", "--norestore", "--nologo", f"-env:UserInstallation=file://{folder.name}/profile",
     f"--accept=pipe,name={pipe};urp;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def bridge():
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    for _ in range(FIRST_SECONDS * 4):
        try:
            return resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
        except NoConnectException:
            time.sleep(0.25)
    raise TimeoutError("LibreOffice did not start")


def named(name):
    return context.ServiceManager.createInstanceWithContext(name, context)


def database(data_source):
    """The address of a new document and its source."""
    document = pathlib.Path(folder.name, f"{data_source}.odb").as_uri()
    source = named("com.sun.star.sdb.DatabaseContext").createInstance()
    source.URL = f"sdbc:odbc:{data_source}"
    source.Info = (PropertyValue("CharSet", 0, "UTF-8", 0),)
    source.DatabaseDocument.storeAsURL(document, ())
    return document, source


def wait_for_end():
    try:
        named("com.sun.star.frame.Desktop").terminate()
        office.wait(20)
    except Exception:
        office.kill()
        office.wait()


context = bridge()

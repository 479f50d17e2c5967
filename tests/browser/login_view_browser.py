#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The agent's login view in a real browser (headless chromium driven by selenium).

A person signs in through the page that `velmora-account sign-in` prints while it waits: a wrong
password first (the page shows the error and stays open), then the right one (the command gets the
signed-in account). A second sign-in is cancelled on the page (the command gets
AGENT_ERROR_CANCELED). Screenshots of every step are kept in the artifacts directory.

Each run has its own platform root. Exits 0 when every check held, 1 when one failed (a missing
package included), and 77 (skipped) only when the installed chromium cannot start here, saying why.

usage: login_view_browser.py BUILD_DIR ARTIFACTS_DIR
"""
import json
import os
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import time

SKIP = 77
LOGIN = "browser@velmora.dev"
PASSWORD = "browser-password-1"
APP_ID = "dev.velmora.account"
DEADLINE_S = 90


class Failure(Exception):
    pass


def check(condition, what):
    if not condition:
        raise Failure(what)
    print(f"ok: {what}", flush=True)


def start_browser():
    """A headless chromium under chromedriver, or None with the reason when it cannot start.
    Missing packages are a failure (scripts/install-deps.sh installs them), not a reason to skip."""
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
    except ImportError as e:
        raise Failure(f"python3-selenium is not installed ({e}): run scripts/install-deps.sh")
    driver_path = shutil.which("chromedriver") or "/usr/bin/chromedriver"
    if not os.path.exists(driver_path):
        raise Failure("chromedriver is not installed: run scripts/install-deps.sh (chromium-driver)")
    options = webdriver.ChromeOptions()
    for arg in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu",
                "--no-first-run", "--window-size=900,700"):
        options.add_argument(arg)
    for binary in ("/usr/bin/chromium", shutil.which("chromium") or ""):
        if binary and os.path.exists(binary):
            options.binary_location = binary
            break
    else:
        raise Failure("chromium is not installed: run scripts/install-deps.sh (chromium)")
    try:
        return webdriver.Chrome(service=Service(driver_path), options=options), None
    except Exception as e:  # the browser itself could not start here
        return None, f"chromium could not start: {str(e).splitlines()[0] if str(e) else e!r}"


class SignInCommand:
    """`velmora-account sign-in --json` (or confirm-user) running in the background."""

    def __init__(self, account, command):
        self.proc = subprocess.Popen([account, command, "--json", "--timeout", str(DEADLINE_S)],
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        threading.Thread(target=self._read_stderr, daemon=True).start()

    def _read_stderr(self):
        for line in self.proc.stderr:
            self.lines.put(line)
        self.lines.put(None)

    def page_url(self):
        """The URL the command prints while it waits."""
        end = time.monotonic() + DEADLINE_S
        while time.monotonic() < end:
            try:
                line = self.lines.get(timeout=end - time.monotonic())
            except queue.Empty:
                break
            if line is None:
                break
            print(f"  sign-in says: {line.rstrip()}", flush=True)
            if line.strip().startswith("http://127.0.0.1:"):
                return line.strip()
        raise Failure("velmora-account printed no login view page")

    def outcome(self):
        out, _ = self.proc.communicate(timeout=DEADLINE_S)
        return self.proc.returncode, json.loads(out)


def run(build, artifacts, browser):
    platform = os.path.join(build, "tools", "velmora-platform")
    agent = os.path.join(build, "agent", "velmora-agent")
    account = os.path.join(build, "tools", "velmora-account")
    shots = []

    def shot(name):
        path = os.path.join(artifacts, f"login_view_{len(shots) + 1:02d}_{name}.png")
        browser.save_screenshot(path)
        shots.append(path)

    subprocess.run([platform, "init", "--profile", "mobile"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([platform, "install", APP_ID, "--app", f"{APP_ID}:service:{agent}",
                    "--app", f"{APP_ID}.ui:ui:{agent}",
                    "--meta", f"{APP_ID}:velmora-experience-service-api-level=5"],
                   check=True, stdout=subprocess.DEVNULL)
    subprocess.run([agent, "seed-user", "--login-id", LOGIN, "--password-file", "-"],
                   input=PASSWORD + "\n", text=True, check=True, stdout=subprocess.DEVNULL)
    from selenium.webdriver.common.by import By

    # 1. A wrong password, then the right one.
    cmd = SignInCommand(account, "sign-in")
    browser.get(cmd.page_url())
    shot("page")
    check(browser.find_element(By.ID, "login_id").is_displayed(), "the page asks for the login id")
    check(len(browser.find_elements(By.TAG_NAME, "script")) == 0, "the page has no script")
    browser.find_element(By.ID, "login_id").send_keys(LOGIN)
    browser.find_element(By.ID, "password").send_keys("not-the-password")
    browser.find_element(By.ID, "submit").click()
    shot("wrong_password")
    message = browser.find_element(By.ID, "message").text
    check("password is wrong" in message, f"a wrong password shows an error ({message!r})")
    check(cmd.proc.poll() is None, "the caller still waits after a wrong password")
    browser.find_element(By.ID, "login_id").clear()
    browser.find_element(By.ID, "login_id").send_keys(LOGIN)
    browser.find_element(By.ID, "password").send_keys(PASSWORD)
    browser.find_element(By.ID, "submit").click()
    shot("signed_in")
    outcome = browser.find_element(By.ID, "outcome").text
    check(LOGIN in outcome, f"the page says who is signed in ({outcome!r})")
    status, answer = cmd.outcome()
    check(status == 0 and answer.get("result") == 0, f"the caller got success ({answer})")
    check(answer.get("account", {}).get("login_id") == LOGIN, "the caller's answer has the login id")

    # 2. Cancel on the page.
    cmd = SignInCommand(account, "sign-in")
    browser.get(cmd.page_url())
    browser.find_element(By.ID, "cancel").click()
    shot("cancelled")
    status, answer = cmd.outcome()
    check(status == 1 and answer.get("error") == "AGENT_ERROR_CANCELED",
          f"cancel answers the caller with AGENT_ERROR_CANCELED ({answer})")
    print("screenshots: " + " ".join(shots), flush=True)


def main():
    if len(sys.argv) != 3:
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    build, artifacts = (os.path.abspath(a) for a in sys.argv[1:])
    os.makedirs(artifacts, exist_ok=True)
    root = tempfile.mkdtemp(prefix="velmora-browser-")
    os.environ["VELMORA_PLATFORM_ROOT"] = root
    try:
        browser, why = start_browser()
    except Failure as e:
        print(f"FAILED: {e}", flush=True)
        shutil.rmtree(root, ignore_errors=True)
        return 1
    if browser is None:
        print(f"SKIPPED: the login view's browser test needs chromium: {why}", flush=True)
        shutil.rmtree(root, ignore_errors=True)
        return SKIP
    try:
        run(build, artifacts, browser)
        return 0
    except Failure as e:
        print(f"FAILED: {e}", flush=True)
        return 1
    finally:
        browser.quit()
        platform = os.path.join(build, "tools", "velmora-platform")
        for app in (APP_ID + ".ui", APP_ID):
            subprocess.run([platform, "stop", app], stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)
        log = os.path.join(root, "log", APP_ID + ".ui.log")
        if os.path.exists(log):
            shutil.copy(log, os.path.join(artifacts, "ui-application.log"))
        shutil.rmtree(root, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())

"""The story: what a new user does with the program, from the first launch to the third."""

import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess
import time

from story import desktop, voices
from story.browser import ACCOUNT
from story.screen import Screen
from story.waiting import Failure, LIMIT_SECONDS, run, wait_for

SESSION = pathlib.Path(os.environ.get("PARLOVANCE_SESSION", ""))
OLDER, NEWER = "0.1", "1000.0"  # than every version of the program
SOURCES = ("系统声音", "麦克风")
PLAYED = ("cmn", "大家好，今天我们讨论下个季度的计划。首先看一下上个月的数据，然后每个小组介绍自己的进展。")
SPOKEN = ("en", "Thank you. My group has finished the first two tasks, and the third will be done by "
          "Friday. We found one problem with the schedule, which I would like to discuss at the end.")


def report(chapter, text):
    print(f"{chapter:<11}{text}", flush=True)


def recorded_entry():
    for path in pathlib.Path.home().rglob(".sessions.json"):
        with contextlib.suppress(ValueError, IndexError):
            return json.loads(path.read_text())[0]
    return None


def prepare(build, service):
    service.start(OLDER)
    files, size = desktop.install(build, service.origin)
    report("installed", f"{files} files, {size / 1e6:.1f} MB")


def first_launch(screen):
    begun = time.monotonic()
    application = subprocess.Popen([desktop.PROGRAM])
    screen.see(re.compile("记录每一次对话.*", re.DOTALL))
    report("started", f"{time.monotonic() - begun:.2f} s to the window for new users")
    screen.shoot("welcome")
    screen.press("开始设置 →")
    for permission in ("麦克风访问", "屏幕与系统音频录制"):
        screen.press("授权", beside=permission)
    wait_for("both permissions", lambda: screen.count("已授权") == 2)
    screen.shoot("permissions")
    screen.press("继续 →")
    screen.see("使用网页账号登录")
    screen.shoot("sign-in")
    begun = time.monotonic()
    screen.press("连接网页账号")
    screen.see("登录完成")
    screen.see(ACCOUNT)
    report("sign-in", f"as {ACCOUNT}, to the browser and back in {time.monotonic() - begun:.2f} s")
    screen.shoot("signed-in")
    screen.press("完成 →")
    wait_for("the window to close", lambda: not screen.find("登录完成"))
    return application


def record_a_meeting(screen):
    played = voices.speak(SESSION / "played.wav", *PLAYED, 2)
    spoken = voices.speak(SESSION / "spoken.wav", *SPOKEN, 1)
    speak = pathlib.Path(__file__).resolve().parents[1] / "speak-into-microphone"
    screen.open_panel()
    screen.shoot("idle")
    screen.press("开始录音")
    wait_for("both tracks", lambda: len(list(pathlib.Path.home().rglob("recording-*.m4a"))) >= 2)
    silent = [wait_for("the meters", lambda s=source: screen.meter(s)) for source in SOURCES]
    players = [subprocess.Popen(command) for command in (
        ("pw-play", "--volume", "1.0", "--target", os.environ["PARLOVANCE_SPEAKER"], played),
        (speak, spoken))]
    for source, level in zip(SOURCES, silent):
        wait_for(f"the meter of {source} to rise", lambda s=source, low=level: screen.meter(s) > low)
    screen.shoot("recording")
    if any(player.wait() != 0 for player in players):
        raise Failure("the voices could not be played")
    screen.press("停止录音")
    entry = wait_for("the entry in the list", recorded_entry)
    screen.see("上传")
    screen.shoot("recorded")
    file = next(pathlib.Path.home().rglob(pathlib.Path(entry["fileURL"]).name))
    judge(file, {"played on the speaker": played, "spoken into the microphone": spoken})
    return file


def judge(file, spoken):
    length = run("ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                 "default=nokey=1:noprint_wrappers=1", str(file)).decode()
    report("recorded", f"{file.name}, {file.stat().st_size} bytes, {float(length):.3f} s")
    mix = voices.decode(file)
    missing = []
    for name, voice in spoken.items():
        found, level, start = voices.presence(mix, voices.decode(voice))
        report("voice", f"{name}: correlation {found:.2f}, level {level:.2f}, from {start:.3f} s on")
        if not voices.is_present(found, level):
            missing.append(name)
    if missing:
        raise Failure(f"not as it was in the recording: the voice {', the voice '.join(missing)}")


def upload(screen, file, service):
    service.stop()
    screen.press("上传")
    screen.see("重试")
    screen.shoot("service-away")
    service.start(OLDER)
    screen.press("重试")
    entry = wait_for("the upload", lambda: (e := recorded_entry()) and e.get("remoteID") and e)
    wait_for("the row without a button", lambda: not screen.find("上传") and not screen.find("重试"))
    screen.shoot("uploaded")
    screen.open_menu()
    screen.press("最近会议")
    line = f"{entry['title']}  ·  {entry['duration']}"
    screen.see(line)
    screen.shoot("recent-meetings")
    screen.press(line)
    fetched = SESSION / "fetched.m4a"
    wait_for("the meeting's page in the browser", fetched.exists)
    if fetched.read_bytes() != file.read_bytes():
        raise Failure("what the meeting's page plays is not what was recorded")
    report("uploaded", f"{fetched.stat().st_size} bytes fetched from the page of meeting "
           f"{entry['remoteID']}, the same as the file")


def change_preferences(screen):
    screen.open_panel()
    screen.press("偏好设置")
    screen.press("录完立即上传")
    wait_for("the choice", lambda: screen.is_on("录完立即上传"))
    screen.press("通用")
    screen.press("开机自启动")
    wait_for("the switch", lambda: screen.is_on("开机自启动"))
    screen.shoot("preferences")


def leave(screen):
    screen.open_menu()
    screen.press("退出 Parlovance")


def second_launch(screen):
    begun = time.monotonic()
    desktop.launch()
    screen.see_panel()
    report("started", f"by the desktop: {time.monotonic() - begun:.2f} s to the panel")
    wait_for("the tray icon", screen.icon)
    report("started", f"{time.monotonic() - begun:.2f} s to the icon, of which a tray of the newer kind is "
           "awaited for 5")
    announcement = f"Parlovance {NEWER} 可用"
    screen.see(announcement)
    screen.shoot("update")
    screen.press("稍后")
    wait_for("the alert to close", lambda: not screen.find(announcement))
    report("update", f"{NEWER} announced and put off")
    screen.open_menu()
    screen.press("偏好设置…")
    wait_for("the choice of the last launch", lambda: screen.is_on("录完立即上传"))
    screen.shoot("choice-kept")
    screen.press("通用")
    wait_for("the switch of the last launch", lambda: screen.is_on("开机自启动"))
    screen.shoot("switch-kept")
    screen.press("账号")
    screen.see(ACCOUNT)
    screen.shoot("account-kept")
    report("kept", "the sign-in, the choice and the switch")


def start_by_address():
    begun = time.monotonic()
    desktop.open_address("parlovance://auth?token=secret&state=none", "GNOME")
    process = wait_for("the program that an address starts", desktop.process_of)
    report("started", f"by an address: {time.monotonic() - begun:.2f} s to the name on the bus")
    if b"secret" in pathlib.Path("/proc", str(process), "cmdline").read_bytes():
        raise Failure("the token is on a command line")
    os.kill(process, signal.SIGTERM)
    desktop.wait_for_end(process)


def tell(build, pictures):
    desktop.start_services()
    screen = Screen(pictures)
    service = desktop.Service(build / "bin/localservice", SESSION / "service")
    prepare(build, service)
    application = first_launch(screen)
    file = record_a_meeting(screen)
    upload(screen, file, service)
    change_preferences(screen)
    report("memory", f"{desktop.memory(application.pid):.1f} MB resident after all that, with what "
           "screen readers need")
    leave(screen)
    if (code := application.wait(LIMIT_SECONDS)) != 0:
        raise Failure(f"the program left with {code}")
    service.start(NEWER)
    second_launch(screen)
    process = desktop.process_of()
    leave(screen)
    desktop.wait_for_end(process)
    start_by_address()
    service.stop()
    # The bus has no exit codes of what it has started.
    if "Sanitizer" in (SESSION / "log/dbus-daemon").read_text(errors="replace"):
        raise Failure("a sanitizer has a finding")

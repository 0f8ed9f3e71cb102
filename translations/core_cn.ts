<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>TUsbDevCommandStub</name>
    <message>
        <source>wren210</source>
        <translation>wren210</translation>
    </message>
    <message>
        <source>Write Error</source>
        <translation>写入错误</translation>
    </message>
</context>
<context>
    <name>BoardAccess</name>
    <message>
        <source>The board in download mode at %1 is in use by another program (%2). Close the other program, then unplug the board and plug it in again.</source>
        <translation>下载模式的开发板 %1 正被另一个程序占用（%2）。请关闭那个程序，然后拔下开发板再重新插上。</translation>
    </message>
    <message>
        <source>The board in download mode at %1 cannot be opened for writing (%2). Ostrakit&apos;s udev rule gives the user at the seat access: install it with &quot;sudo install -m 644 %3 /etc/udev/rules.d/ &amp;&amp; sudo udevadm control --reload-rules&quot;. Then unplug the board and plug it in again.</source>
        <translation>无法以读写方式打开下载模式的开发板 %1（%2）。Ostrakit 的 udev 规则可让当前登录的用户访问它：请用 &quot;sudo install -m 644 %3 /etc/udev/rules.d/ &amp;&amp; sudo udevadm control --reload-rules&quot; 安装该规则，然后拔下开发板再重新插上。</translation>
    </message>
    <message>
        <source>The board in download mode at %1 cannot be opened for writing (%2), although the udev rule %3 is installed. It gives access to the user logged in at the seat only. Run &quot;sudo udevadm control --reload-rules&quot;. Then unplug the board and plug it in again.</source>
        <translation>无法以读写方式打开下载模式的开发板 %1（%2），尽管已安装 udev 规则 %3。该规则只让当前在本机登录的用户访问开发板。请运行 &quot;sudo udevadm control --reload-rules&quot;，然后拔下开发板再重新插上。</translation>
    </message>
    <message>
        <source>Board at %1 is in use by another program</source>
        <translation>开发板 %1 正被另一个程序占用</translation>
    </message>
    <message>
        <source>No write access to the board at %1</source>
        <translation>没有开发板 %1 的写入权限</translation>
    </message>
</context>
</TS>

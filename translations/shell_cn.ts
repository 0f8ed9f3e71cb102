<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>BurnSystemWidget</name>
    <message>
        <source>Quick Boot</source>
        <translation>快速启动</translation>
    </message>
    <message>
        <source>Please wait while Ostrakit gathers H/W information...</source>
        <translation>请稍候，Ostrakit 正在获取硬件信息...</translation>
    </message>
</context>
<context>
    <name>TAboutView</name>
    <message>
        <source>Check for updates</source>
        <translation>检查更新</translation>
    </message>
    <message>
        <source>Checking ...</source>
        <translation>正在检查 ...</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>版本</translation>
    </message>
</context>
<context>
    <name>TLanguageSettingView</name>
    <message>
        <source>Message</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>TMainWidget</name>
    <message>
        <source>Board is not connected, or Halvorn is not in USB download mode</source>
        <translation>开发板未连接，或 Halvorn 未处于 USB 下载模式</translation>
    </message>
    <message>
        <source>Board connected.</source>
        <translation>开发板已连接。</translation>
    </message>
    <message>
        <source>Board connected ( %1 )</source>
        <translation>开发板已连接 ( %1 )</translation>
    </message>
</context>
<context>
    <name>TMenu</name>
    <message>
        <source>My development board</source>
        <translation>我的开发板</translation>
    </message>
    <message>
        <source>Board is not connected</source>
        <translation>开发板未连接</translation>
    </message>
    <message>
        <source>Android</source>
        <translation>Android</translation>
    </message>
    <message>
        <source>Windows CE</source>
        <translation>Windows CE</translation>
    </message>
    <message>
        <source>Linux</source>
        <translation>Linux</translation>
    </message>
    <message>
        <source>User bin (No OS)</source>
        <translation>用户程序（无操作系统）</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>About</source>
        <translation>关于</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>已连接</translation>
    </message>
</context>
<context>
    <name>TabWidget</name>
    <message>
        <source>Download</source>
        <translation>烧写</translation>
    </message>
    <message>
        <source>Serial Port</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>Utilities</source>
        <translation>实用工具</translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>Ostrakit (by Velkaro,www.example.com)</source>
        <translation>Ostrakit（Velkaro 出品，www.example.com）</translation>
    </message>
</context>
</TS>

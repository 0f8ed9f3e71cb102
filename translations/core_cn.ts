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
</TS>

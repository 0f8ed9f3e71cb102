<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
    <name>SerialPortDialog</name>
    <message>
        <source>Serial assistant (by Velkaro, </source>
        <translation>串口助手（Velkaro 出品，</translation>
    </message>
    <message>
        <source>The text to be sent</source>
        <translation>待发送的文本</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Cancel Sending</source>
        <translation>取消发送</translation>
    </message>
    <message>
        <source>Please open the serial port.</source>
        <translation>请先打开串口。</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>Select File</source>
        <translation>选择文件</translation>
    </message>
    <message>
        <source>Files(*.*)</source>
        <translation>文件(*.*)</translation>
    </message>
    <message>
        <source>Please select the file you want to send.</source>
        <translation>请选择要发送的文件。</translation>
    </message>
    <message>
        <source>File open failed.</source>
        <translation>文件打开失败。</translation>
    </message>
    <message>
        <source>Send File</source>
        <translation>发送文件</translation>
    </message>
    <message>
        <source>An error occurred during file read.</source>
        <translation>读取文件时出错。</translation>
    </message>
    <message>
        <source>Please enter the content you want to send.</source>
        <translation>请输入要发送的内容。</translation>
    </message>
    <message>
        <source>Please select the file you want to automatically send.</source>
        <translation>请选择要自动发送的文件。</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>%1 does not exist.</source>
        <translation>%1 不存在。</translation>
    </message>
    <message>
        <source>%1 is not a serial device.</source>
        <translation>%1 不是串口设备。</translation>
    </message>
    <message>
        <source>No permission to open %1 (or it is in use): join the &quot;dialout&quot; group (sudo adduser $USER dialout), then log in again.</source>
        <translation>无权打开 %1（或该端口正被占用）：请将用户加入 &quot;dialout&quot; 组（sudo adduser $USER dialout），然后重新登录。</translation>
    </message>
    <message>
        <source>%1 cannot be opened: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>The port closed during the file send: %1 of %2 bytes were sent.</source>
        <translation>文件发送过程中串口已关闭：已发送 %1 / %2 字节。</translation>
    </message>
</context>
<context>
    <name>SerialPortDialogBase</name>
    <message>
        <source>Dialog</source>
        <translation>对话框</translation>
    </message>
    <message>
        <source>Recv：</source>
        <translation>接收：</translation>
    </message>
    <message>
        <source>Echo</source>
        <translation>回显</translation>
    </message>
    <message>
        <source>HEX</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Auto Clear</source>
        <translation>自动清空</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清空</translation>
    </message>
    <message>
        <source>Sent：</source>
        <translation>发送：</translation>
    </message>
    <message>
        <source>Send Data in HEX</source>
        <translation>按十六进制发送</translation>
    </message>
    <message>
        <source>Append CR/LF</source>
        <translation>追加回车换行</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>端口：</translation>
    </message>
    <message>
        <source>Speed(Baud):</source>
        <translation>波特率：</translation>
    </message>
    <message>
        <source>Data bits:</source>
        <translation>数据位：</translation>
    </message>
    <message>
        <source>Parity:</source>
        <translation>校验位：</translation>
    </message>
    <message>
        <source>Stop bits:</source>
        <translation>停止位：</translation>
    </message>
    <message>
        <source>Timeout:</source>
        <translation>超时：</translation>
    </message>
    <message>
        <source>QueryMode:</source>
        <translation>查询模式：</translation>
    </message>
    <message>
        <source>Open/Close Port</source>
        <translation>打开/关闭串口</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>自动</translation>
    </message>
    <message>
        <source>ms</source>
        <translation>毫秒</translation>
    </message>
    <message>
        <source>Auto send type：</source>
        <translation>自动发送类型：</translation>
    </message>
    <message>
        <source>Send File：</source>
        <translation>发送文件：</translation>
    </message>
    <message>
        <source>...</source>
        <translation>...</translation>
    </message>
    <message>
        <source>Send File</source>
        <translation>发送文件</translation>
    </message>
</context>
</TS>

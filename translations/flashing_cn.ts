<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>TConfigView</name>
    <message>
        <source>Hint: To use only the HDMI output, do not connect the LCD.</source>
        <translation>提示：如只使用 HDMI 输出，请不要连接 LCD。</translation>
    </message>
    <message>
        <source>File not found &quot;%1&quot;.</source>
        <translation>找不到文件“%1”。</translation>
    </message>
    <message>
        <source>Cannot open file &quot;%1&quot;.</source>
        <translation>无法打开文件“%1”。</translation>
    </message>
    <message>
        <source>No address.</source>
        <translation>没有地址。</translation>
    </message>
    <message>
        <source>No kernel command line.</source>
        <translation>没有内核命令行。</translation>
    </message>
    <message>
        <source>No &quot;%1&quot;.</source>
        <translation>没有“%1”。</translation>
    </message>
    <message>
        <source>No action.</source>
        <translation>没有要执行的操作。</translation>
    </message>
    <message>
        <source>Low formatting Nand Flash (Step%1/%2) ...</source>
        <translation>正在低级格式化 Nand Flash（第%1/%2步）...</translation>
    </message>
    <message>
        <source>Set LCD Type (Step%1/%2) ...</source>
        <translation>正在设置 LCD 类型（第%1/%2步）...</translation>
    </message>
    <message>
        <source>Set kernal command line (Step%1/%2) ...</source>
        <translation>正在设置内核命令行（第%1/%2步）...</translation>
    </message>
    <message>
        <source>Downloading and running user-bin (Step%1/%2) ...</source>
        <translation>正在下载并运行 user-bin（第%1/%2步）...</translation>
    </message>
    <message>
        <source>Set RAM address of user-bin (Step%1/%2) ...</source>
        <translation>正在设置 user-bin 的内存地址（第%1/%2步）...</translation>
    </message>
    <message>
        <source>Flashing %1 (Step%2/%3) ...</source>
        <translation>正在烧写 %1（第%2/%3步）...</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>An error occurred during flashing.</source>
        <translation>烧写过程中发生错误。</translation>
    </message>
    <message>
        <source>All operations was completed successfully.</source>
        <translation>所有操作已成功完成。</translation>
    </message>
    <message>
        <source>To abort the current operation, restart the board.</source>
        <translation>要中止当前操作，请重新启动开发板。</translation>
    </message>
    <message>
        <source>Incorrect directory, Cannot find the file &quot;Velkaro.ini&quot;.</source>
        <translation>目录不正确，找不到文件“Velkaro.ini”。</translation>
    </message>
    <message>
        <source>Please choose the user-bin to run: </source>
        <translation>请选择要运行的用户程序：</translation>
    </message>
    <message>
        <source>Please choose the user-bin to flash: </source>
        <translation>请选择要烧写的用户程序：</translation>
    </message>
    <message>
        <source>Select the files for flash your board:</source>
        <translation>请选择要烧写到开发板的文件：</translation>
    </message>
    <message>
        <source>Flash options</source>
        <translation>烧写选项</translation>
    </message>
    <message>
        <source>Low format flash</source>
        <translation>低级格式化闪存</translation>
    </message>
    <message>
        <source>Skip cali</source>
        <translation>跳过校准</translation>
    </message>
    <message>
        <source>Enable HDMI, Resolution: </source>
        <translation>启用 HDMI，分辨率：</translation>
    </message>
    <message>
        <source>RAM Address (Download/Loading): 0x</source>
        <translation>内存地址（下载/加载）：0x</translation>
    </message>
    <message>
        <source>Image will be loaded here by Halvorn.</source>
        <translation>Halvorn 会把映像加载到这里。</translation>
    </message>
    <message>
        <source>Download and run</source>
        <translation>下载并运行</translation>
    </message>
    <message>
        <source>Install to NAND Flash</source>
        <translation>安装到 NAND 闪存</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>全选</translation>
    </message>
    <message>
        <source>Invert Selection</source>
        <translation>反选</translation>
    </message>
    <message>
        <source>Location &quot;images&quot; path</source>
        <translation>定位“images”路径</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清除</translation>
    </message>
    <message>
        <source>Download and Run</source>
        <translation>下载并运行</translation>
    </message>
    <message>
        <source>Start flashing</source>
        <translation>开始烧写</translation>
    </message>
    <message>
        <source>Flashing...</source>
        <translation>正在烧写...</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>信息</translation>
    </message>
    <message>
        <source>Select the images directory from DVD</source>
        <translation>从光盘选择 images 目录</translation>
    </message>
    <message>
        <source>Select File</source>
        <translation>选择文件</translation>
    </message>
    <message>
        <source>Image Files(*)</source>
        <translation>映像文件(*)</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a regular file.</source>
        <translation>&quot;%1&quot; 不是普通文件。</translation>
    </message>
    <message>
        <source>The kernel command line holds characters the board cannot take: %1</source>
        <translation>内核命令行中含有开发板无法接收的字符：%1</translation>
    </message>
    <message>
        <source>&quot;%1&quot; names no image: it is empty, unreadable or not a description file. Choose another images folder.</source>
        <translation>&quot;%1&quot; 中没有指定任何映像：该文件为空、无法读取或不是映像描述文件。请选择其他映像目录。</translation>
    </message>
</context>
<context>
    <name>TransferRate</name>
    <message>
        <source>%1 B/s</source>
        <translation>%1 B/s</translation>
    </message>
    <message>
        <source>%1 KB/s</source>
        <translation>%1 KB/s</translation>
    </message>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <source>%1 · %2 left</source>
        <translation>%1 · 剩余 %2</translation>
    </message>
</context>
</TS>

<report>
<section id=head, top=0>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
</section>
<section id=sizes, top=0>
<row cstyle='%-20s %12s'><value>Size class</value><value>Frames</value></row>
<iterate var=class, from=0, to=3>
<row cstyle='%-20s %12u'><value>${class}</value><value link=ifstats@hist[${class}]></value></row>
</iterate>
</section>
<section id=lines, top=0, bottom=0>
<row cstyle='%-6s %12s %8s %10s  %s'><value>Line</value><value>Frames</value><value>Errors</value><value>Power</value><value>Alarms</value></row>
<iterate var=number, from=1, to=ifstats@ports>
<include file=parts/line.tpl(app:port${number}; number:${number})>
</iterate>
</section>
</report>

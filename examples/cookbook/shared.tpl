<report>
<include file=letterhead.tpl(title:Receiver; place:ifstats@place)>
<include file=customer.tpl, optional>
<row cstyle='%-10s %u'><value>Frames</value><value link=ifstats@rxFrames></value></row>
</report>
